#pragma once

#include <opencv2/core.hpp>

namespace platform {

/// What is left of a network's answer when scraps and doubts are gone.
struct PersonPieces {
    cv::Mat1b solid;        ///< 255 where the person is
    double area = 0;        ///< the largest piece's part of the frame
    double confidence = 0;  ///< the network's mean answer in it, 0.5…1
};

/// Finds the person in `probability` (0…1): the largest piece, others nearly as large, and smaller ones of
/// which the network is sure and which an arm may join to it. Small holes are filled, gaps between arm and
/// body stay.
PersonPieces findPerson(const cv::Mat1f& probability);

}  // namespace platform
