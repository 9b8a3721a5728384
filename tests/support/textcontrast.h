// SPDX-License-Identifier: MIT
#pragma once

#include "params/readablepalette.h"

#include <QImage>

/// The greatest contrast of a pixel with the one at the left end of its line.
inline double textContrast(const QImage &image)
{
    double best = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            best = qMax(best, contrast(image.pixelColor(x, y), image.pixelColor(0, y)));
    }
    return best;
}
