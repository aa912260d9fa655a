#include "src/color_model.h"

#include <algorithm>
#include <cmath>

namespace quilbysim {
namespace {

// Linear light of one encoded channel value in [0, 1].
double linearize(const Display& display, double encoded) {
  const double value = std::clamp(encoded, 0.0, 1.0);
  if (display.srgbCurve) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  }
  return std::pow(value, display.gamma);
}

// The terms applyTerms works on (colour_model.h).
std::array<double, 8> terms(const Vec3& xyz) {
  const double x = std::max(xyz[0], 0.0), y = std::max(xyz[1], 0.0), z = std::max(xyz[2], 0.0);
  const double xy = std::sqrt(x * y), yz = std::sqrt(y * z), zx = std::sqrt(z * x);
  return {xyz[0], xyz[1], xyz[2], xy, yz, zx, std::cbrt(x * y * z), 1.0};
}

}  // namespace

Vec3 multiply(const Matrix3& matrix, const Vec3& vector) {
  Vec3 result{};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      result[row] += matrix[row * 3 + column] * vector[column];
    }
  }
  return result;
}

bool invert(const Matrix3& m, Matrix3& inverse) {
  const double cofactor00 = m[4] * m[8] - m[5] * m[7];
  const double cofactor01 = m[5] * m[6] - m[3] * m[8];
  const double cofactor02 = m[3] * m[7] - m[4] * m[6];
  const double determinant = m[0] * cofactor00 + m[1] * cofactor01 + m[2] * cofactor02;
  if (!std::isfinite(determinant) || std::fabs(determinant) < 1e-12) return false;
  const double scale = 1.0 / determinant;
  inverse = {
      cofactor00 * scale, (m[2] * m[7] - m[1] * m[8]) * scale, (m[1] * m[5] - m[2] * m[4]) * scale,
      cofactor01 * scale, (m[0] * m[8] - m[2] * m[6]) * scale, (m[2] * m[3] - m[0] * m[5]) * scale,
      cofactor02 * scale, (m[1] * m[6] - m[0] * m[7]) * scale, (m[0] * m[4] - m[1] * m[3]) * scale};
  return true;
}

Vec3 fromChromaticity(const Chromaticity& c, double luminance) {
  if (c.y == 0.0) return {0.0, 0.0, 0.0};
  return {c.x / c.y * luminance, luminance, (1.0 - c.x - c.y) / c.y * luminance};
}

Matrix3 primariesMatrix(const Display& display) {
  const Vec3 red = fromChromaticity(display.red, 1.0);
  const Vec3 green = fromChromaticity(display.green, 1.0);
  const Vec3 blue = fromChromaticity(display.blue, 1.0);
  // Columns: the primaries at Y = 1.
  const Matrix3 primaries = {red[0], green[0], blue[0],  //
                             red[1], green[1], blue[1],  //
                             red[2], green[2], blue[2]};
  Matrix3 inverse;
  if (!invert(primaries, inverse)) return Matrix3{};
  const Vec3 scale = multiply(inverse, fromChromaticity(display.white, display.luminance));
  Matrix3 result = primaries;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) result[row * 3 + column] *= scale[column];
  }
  return result;
}

Vec3 emittedXYZ(const Display& display, const Vec3& shownColor) {
  const Vec3 linear = {linearize(display, shownColor[0]), linearize(display, shownColor[1]),
                       linearize(display, shownColor[2])};
  return multiply(primariesMatrix(display), linear);
}

Vec3 applyTerms(const TermMatrix& matrix, const Vec3& xyz) {
  const std::array<double, 8> input = terms(xyz);
  Vec3 result{};
  for (int row = 0; row < 8; ++row) {
    for (int column = 0; column < 3; ++column) {
      result[column] += input[row] * matrix[row * 3 + column];
    }
  }
  return result;
}

Vec3 tenDegreeObserver(const Vec3& xyz) {
  static constexpr Matrix3 kTenDegree = {1.0163,  0.0061,  -0.0094,  //
                                         -0.0021, 1.0012,  0.0009,   //
                                         0.0000,  -0.0137, 1.0418};
  return multiply(kTenDegree, xyz);
}

MDColor colourRecord(const Vec3& xyz, double whiteLuminance) {
  MDColor colour{};
  colour.X = xyz[0];
  colour.Y = xyz[1];
  colour.Z = xyz[2];
  const double sum = xyz[0] + xyz[1] + xyz[2];
  if (sum > 0.0) {
    colour.x = xyz[0] / sum;
    colour.y = xyz[1] / sum;
  }
  const double denominator = xyz[0] + 15.0 * xyz[1] + 3.0 * xyz[2];
  if (denominator > 0.0) {
    colour.u = 4.0 * xyz[0] / denominator;
    colour.v = 9.0 * xyz[1] / denominator;
  }
  // CMYK of the colour as an sRGB value relative to the white: ink for what the colour lacks.
  static constexpr Matrix3 kXYZToLinearSRGB = {3.2404542,  -1.5371385, -0.4985314,
                                               -0.9692660, 1.8760108,  0.0415560,
                                               0.0556434,  -0.2040259, 1.0572252};
  const double white = whiteLuminance > 0.0 ? whiteLuminance : 100.0;
  const Vec3 linear =
      multiply(kXYZToLinearSRGB, Vec3{xyz[0] / white, xyz[1] / white, xyz[2] / white});
  Vec3 encoded{};
  for (int channel = 0; channel < 3; ++channel) {
    const double value = std::clamp(linear[channel], 0.0, 1.0);
    encoded[channel] =
        value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1.0 / 2.4) - 0.055;
  }
  const double brightest = std::max({encoded[0], encoded[1], encoded[2]});
  colour.black = 1.0 - brightest;
  if (brightest > 0.0) {
    colour.cyan = (brightest - encoded[0]) / brightest;
    colour.magenta = (brightest - encoded[1]) / brightest;
    colour.yellow = (brightest - encoded[2]) / brightest;
  }
  return colour;
}

double NoiseSource::next() {
  state_ += 0x9E3779B97F4A7C15ULL;
  uint64_t z = state_;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  z ^= z >> 31;
  return static_cast<double>(z >> 11) * 0x1.0p-53 * 2.0 - 1.0;
}

}  // namespace quilbysim
