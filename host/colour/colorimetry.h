// Colorimetry of sensor readings: chromaticities, correlated colour temperature and Duv, CIELAB
// against a white, and colour differences.
//
// Little CMS does what it offers (xyY, L*a*b*, CIEDE2000, the correlated colour temperature); the
// 1976 UCS coordinates, Duv and Δu'v' are computed here from the sources cited beside them.
// Everything is pure and thread-safe. Readings are CIE XYZ in any non-negative scale (cd/m² from
// a display, lx from ambient light): chromaticities do not depend on the scale, L*a*b* is taken
// relative to the white's Y.
#ifndef QUILBY_HOST_COLOUR_COLORIMETRY_H
#define QUILBY_HOST_COLOUR_COLORIMETRY_H

#include <cstddef>
#include <optional>
#include <vector>

namespace quilbycolour {

struct Xyz {
  double X = 0;
  double Y = 0;
  double Z = 0;
};

// A point of a chromaticity diagram: (x, y) of CIE 1931 or (u', v') of CIE 1976.
struct Chromaticity {
  double first = 0;
  double second = 0;
};

struct Lab {
  double L = 0;
  double a = 0;
  double b = 0;
};

// The correlated colour temperature and the signed distance from the Planckian locus in the CIE
// 1960 uv diagram (positive above the locus, towards green; negative below, towards magenta).
struct ColourTemperature {
  double kelvin = 0;
  double duv = 0;
};

// The range in which colourTemperature() answers, and the largest |Duv| it accepts: CIE 15:2004
// advises against a correlated colour temperature for chromaticities farther than 0.05 from the
// Planckian locus, where it says little about the colour.
inline constexpr double kLowestKelvin = 1667.0;
inline constexpr double kHighestKelvin = 15000.0;
inline constexpr double kLargestDuv = 0.05;

// CIE 1931 x, y. None when X + Y + Z is 0 (no light: no chromaticity).
std::optional<Chromaticity> chromaticityXy(const Xyz& reading);

// CIE 1976 UCS u', v'. None when X + 15Y + 3Z is 0, that is for a reading without light.
std::optional<Chromaticity> chromaticityUv(const Xyz& reading);

// The correlated colour temperature (Robertson's method as Little CMS implements it) with Duv.
// None without light, outside kLowestKelvin to kHighestKelvin, and when |Duv| > kLargestDuv.
std::optional<ColourTemperature> colourTemperature(const Xyz& reading);

// CIELAB of `reading` against `white`, both divided by the white's Y first, so that the white
// itself is L* = 100 whatever the scale. Requires every component of `white` above 0.
Lab labAgainstWhite(const Xyz& reading, const Xyz& white);

// CIEDE2000 with the parametric factors kL = kC = kH = 1.
double deltaE2000(const Lab& first, const Lab& second);

// The distance of two readings in the CIE 1976 u'v' diagram. None when either has no light.
std::optional<double> deltaUv(const Xyz& first, const Xyz& second);

// Every derived value of one reading, each absent where the inputs do not define it.
struct Derived {
  Xyz xyz;
  std::optional<Chromaticity> xy;
  std::optional<Chromaticity> uv;
  std::optional<ColourTemperature> temperature;
  // Against `white`; absent without one.
  std::optional<Lab> lab;
  // Between the reading and `reference`, both as L*a*b* against `white`; absent without both.
  std::optional<double> deltaE2000;
  // Between the reading and `reference`; absent without reference or without light in either.
  std::optional<double> deltaUv;
};

// `white`, when given, must have every component above 0 (see labAgainstWhite).
Derived derive(const Xyz& reading, const std::optional<Xyz>& white,
               const std::optional<Xyz>& reference);

// Minimum, mean, maximum and sample standard deviation (n - 1 in the denominator) of a series.
struct Statistics {
  std::size_t count = 0;
  double minimum = 0;
  double mean = 0;
  double maximum = 0;
  // Absent for fewer than two values.
  std::optional<double> standardDeviation;
};

// None for an empty series.
std::optional<Statistics> statisticsOf(const std::vector<double>& series);

}  // namespace quilbycolour

#endif  // QUILBY_HOST_COLOUR_COLORIMETRY_H
