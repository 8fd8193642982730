#pragma once

#include "RenderedPeople/Paint.hpp"

namespace cobaltreel::rendered {

/// A room behind the person.
class Room {
  public:
    enum class Kind { plain, office, bookshelf, window, wallpaper, changing };
    static constexpr int kindCount = 6;

    Room(Random& random, Kind kind, cv::Size size);

    /// The room at `seconds`; only `changing` ever differs.
    cv::Mat3b at(double seconds) const;
    /// The color of the room where a person's clothes would be.
    cv::Scalar colorBehindPerson() const;
    static const char* name(Kind kind);

  private:
    void drawOffice(Random& random);
    void drawBookshelf(Random& random);
    void drawWindow(Random& random);
    void drawWallpaper(Random& random);

    Kind kind_;
    cv::Mat3b picture_;
    cv::Rect screen_;
    std::vector<cv::Scalar> screenColors_;
    double focusBlur_;
};

}  // namespace cobaltreel::rendered
