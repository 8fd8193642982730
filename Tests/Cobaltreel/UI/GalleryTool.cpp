// Writes the gallery's pictures into the folder given.
#include "Cobaltreel/UI/Gallery/Gallery.hpp"

#include <QGuiApplication>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: GalleryTool FOLDER\n";
        return 2;
    }
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    return cobaltreel::runGallery({argv[1]});
}
