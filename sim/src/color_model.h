// Colour arithmetic of the measurement model: how a monitor turns encoded RGB into light, how
// matrices act on readings, and how a reading becomes the measurement library's colour record.
// Pure functions, no state.
#ifndef QUILBY_SIM_SRC_COLOR_MODEL_H
#define QUILBY_SIM_SRC_COLOR_MODEL_H

#include "src/world.h"

#include "quilby/device_types.h"

#include <cstdint>

namespace quilbysim {

Vec3 multiply(const Matrix3& matrix, const Vec3& vector);
// False (and `inverse` unchanged) for a singular matrix.
bool invert(const Matrix3& matrix, Matrix3& inverse);

// XYZ of chromaticity x, y at luminance Y; zero when y is 0.
Vec3 fromChromaticity(const Chromaticity& chromaticity, double luminance);

// The matrix from linear RGB to XYZ: its columns are the primaries, scaled so that RGB (1, 1, 1)
// gives the white point at the display's luminance. Collinear primaries give the zero matrix (the
// world reader refuses them).
Matrix3 primariesMatrix(const Display& display);

// XYZ the display emits for the encoded RGB it shows.
Vec3 emittedXYZ(const Display& display, const Vec3& shownColor);

// A term matrix applied to XYZ. The terms it works on: X, Y, Z, sqrt(XY), sqrt(YZ), sqrt(ZX),
// cbrt(XYZ) and 1. The root terms grow in proportion to the light, as X, Y and Z do, so a matrix
// fitted at one brightness holds at all; products of negative readings count as 0.
Vec3 applyTerms(const TermMatrix& matrix, const Vec3& xyz);

// XYZ as the CIE 1964 10-degree observer would see a typical display light, from the 2-degree
// values (a fixed approximation: the simulator has no spectra).
Vec3 tenDegreeObserver(const Vec3& xyz);

// The colour record of a reading: XYZ, x y, u' v' (0 for a black reading) and CMYK of the colour
// relative to a white of luminance `whiteLuminance` (no ink for white, full black for black).
MDColor colourRecord(const Vec3& xyz, double whiteLuminance);

// The deterministic noise source of the world: splitmix64 over the world's seed.
class NoiseSource {
 public:
  explicit NoiseSource(uint64_t seed) : state_(seed) {}
  // The next value, uniform in [-1, 1).
  double next();

 private:
  uint64_t state_;
};

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_COLOR_MODEL_H
