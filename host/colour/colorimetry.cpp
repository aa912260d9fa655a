#include "colour/colorimetry.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quilbycolour {

namespace {

// CIE 1960 UCS u, v (the diagram of CCT and Duv), from CIE 1931 x, y.
Chromaticity uv1960(const Chromaticity& xy) {
  const double denominator = -2 * xy.first + 12 * xy.second + 3;
  return {4 * xy.first / denominator, 6 * xy.second / denominator};
}

// The Planckian locus in the CIE 1960 uv diagram at `kelvin`: Krystek's rational approximation
// (M. Krystek, "An algorithm to calculate correlated colour temperature", Color Research and
// Application 10(1), 1985), within 8e-5 of the exact locus in u and in v from 1000 K to 15000 K.
Chromaticity planckianUv(double kelvin) {
  const double t = kelvin;
  const double u = (0.860117757 + 1.54118254e-4 * t + 1.28641212e-7 * t * t) /
                   (1 + 8.42420235e-4 * t + 7.08145163e-7 * t * t);
  const double v = (0.317398726 + 4.22806245e-5 * t + 4.20481691e-8 * t * t) /
                   (1 - 2.89741816e-5 * t + 1.61456053e-7 * t * t);
  return {u, v};
}

}  // namespace

std::optional<Chromaticity> chromaticityXy(const Xyz& reading) {
  if (reading.X + reading.Y + reading.Z <= 0) return std::nullopt;
  const cmsCIEXYZ xyz{reading.X, reading.Y, reading.Z};
  cmsCIExyY xyY;
  cmsXYZ2xyY(&xyY, &xyz);
  return Chromaticity{xyY.x, xyY.y};
}

std::optional<Chromaticity> chromaticityUv(const Xyz& reading) {
  // CIE 15:2004, equations 8.5 and 8.6.
  const double denominator = reading.X + 15 * reading.Y + 3 * reading.Z;
  if (denominator <= 0) return std::nullopt;
  return Chromaticity{4 * reading.X / denominator, 9 * reading.Y / denominator};
}

std::optional<ColourTemperature> colourTemperature(const Xyz& reading) {
  const std::optional<Chromaticity> xy = chromaticityXy(reading);
  if (!xy) return std::nullopt;
  // Little CMS walks Robertson's 31 isotemperature lines, from 0 mired (infinite temperature) to
  // 600 mired (1667 K), and interpolates between the two that enclose the chromaticity. It fails
  // for chromaticities outside that fan (below 1667 K, or beyond the lines' ends: deep reds,
  // blues and purples), and answers for any chromaticity inside it however far from the locus
  // (a saturated green gets about 6000 K), hence the Duv limit below. Against the CCTs of CIE
  // 15:2004 it lies within 2.5 K from A to D75 (D65: 6502.4 K for 6504 K).
  const cmsCIExyY white{xy->first, xy->second, 1.0};
  double kelvin = 0;
  if (!cmsTempFromWhitePoint(&kelvin, &white) || !std::isfinite(kelvin) ||
      kelvin < kLowestKelvin || kelvin > kHighestKelvin) {
    return std::nullopt;
  }
  // Duv: the distance from the locus point at that temperature, which lies on the same
  // isotemperature line (the line is normal to the locus there). Its sign says on which side of
  // the locus the point lies, taken from the locus' direction of rising temperature.
  const Chromaticity point = uv1960(*xy);
  const Chromaticity locus = planckianUv(kelvin);
  const Chromaticity hotter = planckianUv(kelvin + 1);
  const double du = point.first - locus.first;
  const double dv = point.second - locus.second;
  const double turn = (hotter.first - locus.first) * dv - (hotter.second - locus.second) * du;
  // Rising temperature runs towards smaller u, so points above the locus turn clockwise.
  const double duv = std::copysign(std::hypot(du, dv), -turn);
  if (std::fabs(duv) > kLargestDuv) return std::nullopt;
  return ColourTemperature{kelvin, duv};
}

Lab labAgainstWhite(const Xyz& reading, const Xyz& white) {
  const cmsCIEXYZ normalisedWhite{white.X / white.Y, 1.0, white.Z / white.Y};
  const cmsCIEXYZ normalised{reading.X / white.Y, reading.Y / white.Y, reading.Z / white.Y};
  cmsCIELab lab;
  cmsXYZ2Lab(&normalisedWhite, &lab, &normalised);
  return Lab{lab.L, lab.a, lab.b};
}

double deltaE2000(const Lab& first, const Lab& second) {
  const cmsCIELab one{first.L, first.a, first.b};
  const cmsCIELab two{second.L, second.a, second.b};
  return cmsCIE2000DeltaE(&one, &two, 1.0, 1.0, 1.0);
}

std::optional<double> deltaUv(const Xyz& first, const Xyz& second) {
  const std::optional<Chromaticity> one = chromaticityUv(first);
  const std::optional<Chromaticity> two = chromaticityUv(second);
  if (!one || !two) return std::nullopt;
  return std::hypot(one->first - two->first, one->second - two->second);
}

Derived derive(const Xyz& reading, const std::optional<Xyz>& white,
               const std::optional<Xyz>& reference) {
  Derived derived;
  derived.xyz = reading;
  derived.xy = chromaticityXy(reading);
  derived.uv = chromaticityUv(reading);
  derived.temperature = colourTemperature(reading);
  if (white) derived.lab = labAgainstWhite(reading, *white);
  if (reference) {
    derived.deltaUv = deltaUv(reading, *reference);
    if (white) derived.deltaE2000 = deltaE2000(*derived.lab, labAgainstWhite(*reference, *white));
  }
  return derived;
}

std::optional<Statistics> statisticsOf(const std::vector<double>& series) {
  if (series.empty()) return std::nullopt;
  Statistics statistics;
  statistics.count = series.size();
  const auto [lowest, highest] = std::minmax_element(series.begin(), series.end());
  statistics.minimum = *lowest;
  statistics.maximum = *highest;
  const double count = static_cast<double>(series.size());
  statistics.mean = std::accumulate(series.begin(), series.end(), 0.0) / count;
  if (series.size() > 1) {
    double squares = 0;
    for (const double value : series) squares += (value - statistics.mean) * (value - statistics.mean);
    statistics.standardDeviation = std::sqrt(squares / (count - 1));
  }
  return statistics;
}

}  // namespace quilbycolour
