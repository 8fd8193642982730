#include "Cobaltreel/CommandLine/CommandLine.hpp"

int main(int argc, char** argv) { return cobaltreel::runCommandLine(argc, argv); }
