// OpenCV at the work of the colour paths. The pieces of an enlargement are its resizing of three
// planes of a quarter and its merging of the results: what comes before, splitting the mosaic and
// mixing its greens, is not asked of it.
#include <array>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/peers.h"

namespace zerix::peers {

namespace {

cv::Mat NoiseOf(const Size &size, int divisor, int type)
{
    cv::Mat image(size.height / divisor, size.width / divisor, type);
    const auto bytes =
        Noise(image.total() * image.elemSize() / image.elemSize1(), image.elemSize1());
    std::copy(bytes.begin(), bytes.end(), image.data);
    return image;
}

template <int kMethod, int kDepth, size_t kChannels>
void Pieces(benchmark::State &state)
{
    cv::setNumThreads(1);
    const Size size(state);
    const cv::Mat quarter = NoiseOf(size, 2, CV_MAKETYPE(kDepth, 1));
    const std::array<cv::Mat, 3> quarters = {quarter.clone(), quarter.clone(), quarter.clone()};
    std::array<cv::Mat, kChannels> planes;
    planes.back() = cv::Mat(size.height, size.width, CV_MAKETYPE(kDepth, 1), cv::Scalar(255));
    cv::Mat out(size.height, size.width, CV_MAKETYPE(kDepth, int{kChannels}));
    Run(state, [&] {
        for (size_t plane = 0; plane < 3; ++plane)
            cv::resize(quarters[plane], planes[plane], {size.width, size.height}, 0, 0, kMethod);
        cv::merge(planes.data(), planes.size(), out);
    });
}

template <int kDepth>
void Demosaic(benchmark::State &state)
{
    cv::setNumThreads(1);
    const Size size(state);
    const cv::Mat mosaic = NoiseOf(size, 1, CV_MAKETYPE(kDepth, 1));
    cv::Mat out(size.height, size.width, CV_MAKETYPE(kDepth, 3));
    Run(state, [&] { cv::cvtColor(mosaic, out, cv::COLOR_BayerGB2RGB); });
}

void LookupTable(benchmark::State &state)
{
    cv::setNumThreads(1);
    const Size size(state);
    cv::Mat image = NoiseOf(size, 1, CV_8UC3);
    cv::Mat table(1, 256, CV_8UC3);
    for (int level = 0; level < 256; ++level)
        table.at<cv::Vec3b>(level) = {cv::saturate_cast<uchar>(level * 1.16),
                                      static_cast<uchar>(level),
                                      cv::saturate_cast<uchar>(level * 1.88)};
    Run(state, [&] { cv::LUT(image, table, image); });
}

void Multiply(benchmark::State &state)
{
    cv::setNumThreads(1);
    const Size size(state);
    cv::Mat image = NoiseOf(size, 1, CV_16UC3);
    Run(state, [&] { cv::multiply(image, cv::Scalar(1.16, 1.0, 1.88), image); });
}

void Merge(benchmark::State &state)
{
    cv::setNumThreads(1);
    const Size size(state);
    const cv::Mat plane = NoiseOf(size, 1, CV_8UC1);
    const std::array<cv::Mat, 3> planes = {plane.clone(), plane.clone(), plane.clone()};
    cv::Mat out(size.height, size.width, CV_8UC3);
    Run(state, [&] { cv::merge(planes.data(), planes.size(), out); });
}

BENCHMARK(Pieces<cv::INTER_NEAREST, CV_8U, 3>)->Name("NearestRgb24/OpenCvPieces")->Apply(EverySize);
BENCHMARK(Pieces<cv::INTER_NEAREST, CV_16U, 3>)
    ->Name("NearestRgb48/OpenCvPieces")
    ->Apply(EverySize);
BENCHMARK(Pieces<cv::INTER_LINEAR, CV_8U, 3>)->Name("LinearRgb24/OpenCvPieces")->Apply(EverySize);
BENCHMARK(Demosaic<CV_8U>)->Name("LinearRgb24/OpenCvDemosaic")->Apply(EverySize);
BENCHMARK(Pieces<cv::INTER_LINEAR, CV_8U, 4>)->Name("LinearBgrx32/OpenCvPieces")->Apply(EverySize);
BENCHMARK(Pieces<cv::INTER_LINEAR, CV_16U, 3>)->Name("LinearRgb48/OpenCvPieces")->Apply(EverySize);
BENCHMARK(Demosaic<CV_16U>)->Name("LinearRgb48/OpenCvDemosaic")->Apply(EverySize);
BENCHMARK(Pieces<cv::INTER_CUBIC, CV_8U, 3>)->Name("CubicRgb24/OpenCvPieces")->Apply(EverySize);
BENCHMARK(Pieces<cv::INTER_CUBIC, CV_16U, 3>)->Name("CubicRgb48/OpenCvPieces")->Apply(EverySize);
BENCHMARK(LookupTable)->Name("Gains8/OpenCvLut")->Apply(EverySize);
BENCHMARK(Multiply)->Name("Gains16/OpenCvMultiply")->Apply(EverySize);
BENCHMARK(Merge)->Name("ThreePlanes/OpenCvMerge")->Apply(EverySize);

} // namespace

} // namespace zerix::peers
