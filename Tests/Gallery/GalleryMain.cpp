#include "Gallery/Gallery.hpp"

#include <QGuiApplication>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: " << argv[0] << " FOLDER\nWrites a picture of every control in every state.\n";
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    return cobaltreel::runGallery({argv[1]});
}
