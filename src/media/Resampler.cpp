#include "media/Resampler.h"

#include <algorithm>
#include <cmath>

#include <immintrin.h>

namespace quillvane {

namespace {

double keysCubic(double x)
{
    constexpr double a = -0.5;
    x = std::abs(x);
    if (x < 1)
        return ((a + 2) * x - (a + 3)) * x * x + 1;
    if (x < 2)
        return ((a * x - 5 * a) * x + 8 * a) * x - 4 * a;
    return 0;
}

// The part of [centre - spacing/2, centre + spacing/2] inside [start, start + length).
double coverage(double centre, double spacing, double start, double length)
{
    const double from = std::max(centre - spacing / 2, start);
    const double to = std::min(centre + spacing / 2, start + length);
    return std::clamp((to - from) / spacing, 0.0, 1.0);
}

uint8_t toByte(float value)
{
    return uint8_t(std::clamp(value, 0.0f, 255.0f) + 0.5f);
}

// The inner loops are compiled for AVX2 as well and picked at load time; they are written
// so the compiler vectorises them (the column sums with gathers).
__attribute__((target_clones("avx2", "default")))
void sumRows(const float *const *sourceRows, const float *weights, int taps, int from, int to, float *sum)
{
    if (taps == 4) {
        const float *r0 = sourceRows[0], *r1 = sourceRows[1], *r2 = sourceRows[2], *r3 = sourceRows[3];
        const float w0 = weights[0], w1 = weights[1], w2 = weights[2], w3 = weights[3];
        for (int x = from; x < to; ++x)
            sum[x] = w0 * r0[x] + w1 * r1[x] + w2 * r2[x] + w3 * r3[x];
        return;
    }
    for (int x = from; x < to; ++x)
        sum[x] = 0;
    for (int t = 0; t < taps; ++t) {
        const float *row = sourceRows[t];
        const float weight = weights[t];
        if (weight == 0)
            continue;
        for (int x = from; x < to; ++x)
            sum[x] += weight * row[x];
    }
}

void sumColumnsPortable(const int *first, const float *weights, int count, int taps, const float *row, float fill,
                        uint8_t *out, int from)
{
    for (int n = from; n < count; ++n) {
        const float *w = weights + size_t(n) * size_t(taps);
        const float *samples = row + first[n];
        float value = fill;
        for (int t = 0; t < taps; ++t)
            value += w[t] * samples[t];
        out[n] = uint8_t(std::nearbyint(std::clamp(value, 0.0f, 255.0f)));
    }
}

// Four taps, eight output samples at a time. Each sample's four source values are one
// unaligned load (two samples to a register), multiplied by its weights and summed by a
// tree of horizontal adds; no gathers, which are slow on many processors.
__attribute__((target("avx2,fma")))
void sumFourTapColumnsAvx2(const int *first, const float *weights, int count, const float *row, float fill, uint8_t *out)
{
    const __m256 zero = _mm256_setzero_ps();
    const __m256 top = _mm256_set1_ps(255.0f);
    const __m256 base = _mm256_set1_ps(fill);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int n = 0;
    for (; n + 8 <= count; n += 8) {
        __m256 products[4];
        for (int pair = 0; pair < 4; ++pair) {
            const int at = n + 2 * pair;
            const __m256 samples = _mm256_set_m128(_mm_loadu_ps(row + first[at + 1]), _mm_loadu_ps(row + first[at]));
            products[pair] = _mm256_mul_ps(samples, _mm256_loadu_ps(weights + size_t(at) * 4));
        }
        const __m256 sums = _mm256_hadd_ps(_mm256_hadd_ps(products[0], products[1]),
                                           _mm256_hadd_ps(products[2], products[3]));
        const __m256 values = _mm256_add_ps(base, _mm256_permutevar8x32_ps(sums, order));
        const __m256i whole = _mm256_cvtps_epi32(_mm256_min_ps(_mm256_max_ps(values, zero), top));
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(whole), _mm256_extracti128_si256(whole, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out + n), _mm_packus_epi16(words, words));
    }
    sumColumnsPortable(first, weights, count, 4, row, fill, out, n);
}

const bool hasAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");

void sumColumns(const AxisWeights &columns, const float *row, float fill, uint8_t *out)
{
    const int count = int(columns.first.size());
    if (hasAvx2 && columns.taps == 4)
        sumFourTapColumnsAvx2(columns.first.data(), columns.weights.data(), count, row, fill, out);
    else
        sumColumnsPortable(columns.first.data(), columns.weights.data(), count, columns.taps, row, fill, out, 0);
}

} // namespace

bool AxisWeights::covers(int n) const
{
    const float *w = weights.data() + size_t(n) * size_t(taps);
    return std::any_of(w, w + taps, [](float v) { return v != 0; });
}

AxisWeights axisWeights(const AxisMapping &mapping)
{
    AxisWeights result;
    const int length = mapping.sourceLength;
    const double unitsPerFrameUnit = mapping.sourceUnitsPerPicture / mapping.drawnLength;
    // Widen the kernel when one output step spans more than one source sample.
    const double filterScale = std::max(1.0, std::isfinite(unitsPerFrameUnit) ? unitsPerFrameUnit * mapping.spacing : 1.0);
    const int taps = int(std::min(double(length), std::ceil(4 * filterScale)));
    result.taps = taps;
    result.first.resize(size_t(mapping.outputCount));
    result.weights.assign(size_t(mapping.outputCount) * size_t(taps), 0.0f);
    result.lowest = length;
    result.highest = -1;

    // A picture drawn nowhere (no size, or sizes beyond any frame) covers nothing.
    const bool drawn = std::isfinite(mapping.drawnStart) && std::isfinite(unitsPerFrameUnit)
        && mapping.drawnLength > 0 && unitsPerFrameUnit > 0;

    std::vector<double> raw;
    for (int n = 0; n < mapping.outputCount; ++n) {
        const double centre = mapping.firstCentre + n * mapping.spacing;
        const double covered = drawn ? coverage(centre, mapping.spacing, mapping.drawnStart, mapping.drawnLength) : 0;
        if (covered == 0)
            continue;
        // In source sample coordinates, where sample i has its centre at i.
        const double position = (centre - mapping.drawnStart) * unitsPerFrameUnit - 0.5;
        // Kernel tails far beyond the edges would only fold onto the edge sample; cutting them
        // keeps a kernel widened by an extreme shrink from running over billions of samples.
        const auto bounded = [length](double index) { return int(std::clamp(index, -double(length), 2.0 * length)); };
        const int firstRaw = bounded(std::floor(position - 2 * filterScale) + 1);
        const int lastRaw = bounded(std::ceil(position + 2 * filterScale) - 1);
        raw.assign(size_t(lastRaw - firstRaw + 1), 0.0);
        double total = 0;
        for (int i = firstRaw; i <= lastRaw; ++i) {
            const double w = keysCubic((i - position) / filterScale);
            raw[size_t(i - firstRaw)] = w;
            total += w;
        }
        const int base = std::clamp(firstRaw, 0, length - taps);
        result.first[size_t(n)] = base;
        if (total != 0) {
            // Samples beyond the edge fold onto the edge sample.
            for (int i = firstRaw; i <= lastRaw; ++i) {
                const int at = std::clamp(std::clamp(i, 0, length - 1) - base, 0, taps - 1);
                result.weights[size_t(n) * size_t(taps) + size_t(at)] += float(raw[size_t(i - firstRaw)] / total * covered);
            }
            result.lowest = std::min(result.lowest, base);
            result.highest = std::max(result.highest, base + taps - 1);
        }
    }
    if (result.highest < 0)
        result.lowest = 0;
    // Uncovered samples have no weight, but they still point at samples that get computed.
    for (int n = 0; n < mapping.outputCount; ++n) {
        if (!result.covers(n))
            result.first[size_t(n)] = std::clamp(result.lowest, 0, length - taps);
    }
    return result;
}

void resampleRows(const FloatPlane &source, const AxisWeights &columns, const AxisWeights &rows, float fill,
                  uint8_t *output, int outputStride, int rowBegin, int rowEnd, std::vector<float> &scratch)
{
    const int outputWidth = int(columns.first.size());
    const uint8_t fillByte = toByte(fill);
    scratch.resize(size_t(source.width));
    std::vector<const float *> sourceRows(size_t(rows.taps));
    for (int y = rowBegin; y < rowEnd; ++y) {
        uint8_t *out = output + ptrdiff_t(y) * outputStride;
        if (columns.highest < 0 || !rows.covers(y)) {
            std::fill(out, out + outputWidth, fillByte);
            continue;
        }
        const int first = rows.first[size_t(y)];
        for (int t = 0; t < rows.taps; ++t)
            sourceRows[size_t(t)] = source.row(first + t);
        sumRows(sourceRows.data(), rows.weights.data() + size_t(y) * size_t(rows.taps), rows.taps, columns.lowest, columns.highest + 1, scratch.data());
        sumColumns(columns, scratch.data(), fill, out);
    }
}

} // namespace quillvane
