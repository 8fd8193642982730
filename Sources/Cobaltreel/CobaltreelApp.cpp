#include "Cobaltreel/CommandLine/CommandLine.hpp"

#include <QCoreApplication>
#include <iostream>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("Cobaltreel");
    return cobaltreel::runCommandLine(argc, argv);
}
