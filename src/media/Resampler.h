#pragma once

// Separable Keys bicubic resampling (a = -0.5) of one float plane into one 8-bit plane, for
// a drawn rectangle that may start and end anywhere between pixels. When the picture is
// shrunk the kernel widens with it so fine detail is averaged rather than aliased; an
// output sample the rectangle covers only in part is blended towards the fill by the part
// it covers; outside the picture's edges its last row or column repeats.

#include "media/StillImage.h"

#include <cstdint>
#include <vector>

namespace quillvane {

// How one axis of the output maps onto one axis of the source plane. Output sample n sits
// at firstCentre + n * spacing in frame units; the picture covers [drawnStart, drawnStart +
// drawnLength) of the frame and spans sourceLength units of the source plane.
struct AxisMapping {
    int outputCount = 0;
    double firstCentre = 0.5;
    double spacing = 1;
    double drawnStart = 0;
    double drawnLength = 0;
    int sourceLength = 0;
    double sourceUnitsPerPicture = 0; // source plane units across the whole picture
};

// Weights of every output sample along one axis: `taps` consecutive source samples from
// first[n], with the weights already scaled by how much of the sample the picture covers.
struct AxisWeights {
    int taps = 0;
    std::vector<int> first;
    std::vector<float> weights; // outputCount groups of taps
    int lowest = 0;             // source samples any output sample reads
    int highest = -1;

    bool covers(int n) const;
};

AxisWeights axisWeights(const AxisMapping &mapping);

// Writes rows [rowBegin, rowEnd) of the output plane. `scratch` is reused between calls.
void resampleRows(const FloatPlane &source, const AxisWeights &columns, const AxisWeights &rows, float fill,
                  uint8_t *output, int outputStride, int rowBegin, int rowEnd, std::vector<float> &scratch);

} // namespace quillvane
