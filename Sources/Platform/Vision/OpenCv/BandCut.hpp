#pragma once

#include <opencv2/core.hpp>

namespace platform {

/// Splits a picture into person and background along its edges: the minimum cut of a graph whose
/// pixels prefer a side by `odds` and whose neighbours prefer the same side unless an edge parts them.
/// Pixels surer than `certain` keep their side and cost nothing.
/// `edges` is the picture in any three channels; `stillEdges`, when not empty, holds the background's
/// own picture, whose edges do not invite the border (known where `familiar` > 0).
cv::Mat1b cutAlongEdges(const cv::Mat1f& odds, const cv::Mat3f& edges, const cv::Mat3f& stillEdges,
                        const cv::Mat1f& familiar, float certain, float smoothness);

}  // namespace platform
