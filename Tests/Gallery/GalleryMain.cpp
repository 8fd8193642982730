// Gallery FOLDER: draws every control in every state, in both languages, and writes one picture per control
// and language ("MacSwitch-he.png"). The user's settings stay untouched.
#include <QGuiApplication>
#include <iostream>

namespace cobaltreel {
int runGallery(const char* folder);
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: " << argv[0] << " FOLDER\nWrites a picture of every control in every state.\n";
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    return cobaltreel::runGallery(argv[1]);
}
