#pragma once

#include <filesystem>

namespace cobaltreel {

struct GalleryOptions {
    /// Where the pictures go; made when it is missing.
    std::filesystem::path directory;
};

/// Draws every control in every state, in both languages, and writes one picture per control and language
/// ("MacSwitch-he.png"), as dense as the screen. Prints the names of the files.
///
/// A job of its own: needs a QGuiApplication (the offscreen platform will do), and must run before anything
/// else reads the settings, because it goes through both languages; the user's settings stay untouched.
/// Returns 0, or 1 with a message on standard error when a picture could not be drawn or written.
int runGallery(const GalleryOptions& options);

}  // namespace cobaltreel
