#include "Platform/Imaging/YuvMatrix.hpp"

namespace platform::imaging {
MatrixFigures figuresOf(ColorMatrix matrix) {
    const bool is601 = matrix == ColorMatrix::bt601Limited || matrix == ColorMatrix::bt601Full;
    const bool limited = matrix == ColorMatrix::bt601Limited || matrix == ColorMatrix::bt709Limited;
    return {is601 ? 0.299 : 0.2126, is601 ? 0.114 : 0.0722, limited ? 219.0 / 255 : 1,
            limited ? 224.0 / 255 : 1, limited ? 16 : 0};
}

}  // namespace platform::imaging
