#include "calibration/tolerant_compare.h"

#include "json/value.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace vesk {

namespace {

using cairnjson::Value;

double numberOf(const Value& value) { return value.toDouble(0.0); }

// The decimal exponent of a finite, non-zero magnitude: the count of integer digits from 1.0 up,
// negative below it. The loops end because the magnitude is finite and non-zero: at most about
// 330 steps either way, subnormals included.
int decimalExponentOf(double magnitude) {
  int exponent = 0;
  if (magnitude >= 1.0) {
    double x = magnitude / 10.0;
    exponent = 1;
    while (x >= 1.0) {
      x /= 10.0;
      ++exponent;
    }
  } else {
    double x = magnitude * 10.0;
    exponent = -1;
    while (!(x > 1.0)) {
      x *= 10.0;
      --exponent;
    }
  }
  return exponent;
}

// Scales `value` to about `figures` integer digits for the exponent of the reference value, and
// adds the sign-dependent rounding offset. Computed in double so that no figure count, however
// large or small, overflows an int; the power may become 0 or infinite, which the range check
// of the caller then deals with.
double scaledForComparison(double value, int exponent, int figures) {
  const double wideFigures = figures;
  const double wideExponent = exponent;
  double scaled;
  if (wideFigures > wideExponent) {
    double power = wideFigures - wideExponent;
    if (exponent <= 0) power -= 1.0;
    scaled = value * std::pow(10.0, power);
  } else {
    scaled = value / std::pow(10.0, wideExponent - wideFigures);
  }
  return scaled >= 0.0 ? scaled + 0.5 : scaled - 0.4;
}

// Whether truncating toward zero gives a signed 32-bit integer; false for NaN. Converting a
// double outside this range to int32 is undefined, so it must never be attempted.
bool truncatesToInt32(double value) {
  return value > -2147483649.0 && value < 2147483648.0;
}

// The walk shared by the two array rules. One frame per open array pair lives on a heap vector,
// so the depth of the documents never reaches the C++ stack.
template <class NumbersEqual>
bool arraysEqual(const Value& a, const Value& b, NumbersEqual numbersEqual) {
  if (!a.isArray() || !b.isArray() || a.size() != b.size()) return false;
  struct Frame {
    const Value::Elements* left;
    const Value::Elements* right;
    std::size_t next;
  };
  std::vector<Frame> pending{{&a.elements(), &b.elements(), 0}};
  while (!pending.empty()) {
    Frame& frame = pending.back();
    if (frame.next == frame.left->size()) {
      pending.pop_back();
      continue;
    }
    const Value& left = (*frame.left)[frame.next];
    const Value& right = (*frame.right)[frame.next];
    ++frame.next;
    if (left.isArray()) {
      if (!right.isArray() || left.size() != right.size()) return false;
      // Invalidates `frame`, which is not used again in this round.
      pending.push_back({&left.elements(), &right.elements(), 0});
    } else if (!numbersEqual(left, right)) {
      return false;
    }
  }
  return true;
}

bool sixFigureMembersEqual(const Value& a, const Value& b,
                           std::initializer_list<const char*> keys) {
  for (const char* key : keys) {
    if (!SignificantFigureEquals(a[key], b[key], 6)) return false;
  }
  return true;
}

// The member pair by both KMCAL_G2XYZcntEquals and KMCAL_G2RGBemsEquals, for records that carry
// X, Y, Z and R, G, B together.
bool xyzAndRgbEqual(const Value& a, const Value& b) {
  return KMCAL_G2XYZcntEquals(a, b) && KMCAL_G2RGBemsEquals(a, b);
}

}  // namespace

bool DoubleNearlyEquals(const Value& a, const Value& b, double tolerance) {
  return tolerance > std::fabs(numberOf(a) - numberOf(b));
}

bool SignificantFigureEquals(const Value& a, const Value& b, int figures) {
  const double first = numberOf(a);
  const double second = numberOf(b);
  if (!std::isfinite(first)) return false;
  const double magnitude = std::fabs(first);
  // A zero reference sets no scale; it matches everything by design.
  if (magnitude == 0.0) return true;
  const int exponent = decimalExponentOf(magnitude);
  if (exponent < -3) figures = exponent + 9;
  const double scaledFirst = scaledForComparison(first, exponent, figures);
  const double scaledSecond = scaledForComparison(second, exponent, figures);
  if (!truncatesToInt32(scaledFirst) || !truncatesToInt32(scaledSecond)) {
    return first == second;
  }
  return static_cast<std::int32_t>(scaledFirst) == static_cast<std::int32_t>(scaledSecond);
}

bool DoubleArrayEquals(const Value& a, const Value& b) {
  return arraysEqual(a, b, [](const Value& left, const Value& right) {
    return DoubleNearlyEquals(left, right, 0.0001);
  });
}

bool DoubleArraySignificantFigureEquals(const Value& a, const Value& b) {
  return arraysEqual(a, b, [](const Value& left, const Value& right) {
    return SignificantFigureEquals(left, right, 6);
  });
}

bool KMCAL_G2RGBemsEquals(const Value& a, const Value& b) {
  return sixFigureMembersEqual(a, b, {"R", "G", "B"});
}

bool KMCAL_G2XYZcntEquals(const Value& a, const Value& b) {
  return sixFigureMembersEqual(a, b, {"X", "Y", "Z"});
}

bool R2XC_RefParamEquals(const Value& a, const Value& b) {
  if (!DoubleNearlyEquals(a["ambientTemperature"], b["ambientTemperature"], 0.00001)) return false;
  if (!DoubleNearlyEquals(a["setTemperature"], b["setTemperature"], 0.00001)) return false;
  if (!(a["dimmerOut"] == b["dimmerOut"])) return false;
  for (const char* channel : {"red", "green", "blue"}) {
    if (!DoubleNearlyEquals(a[channel]["tone"], b[channel]["tone"], 0.1)) return false;
  }
  return true;
}

bool KMCAL_CALDATA_USERPROOFEquals(const Value& a, const Value& b) {
  return KMCAL_G2XYZcntEquals(a["XYZ0"], b["XYZ0"]) &&
         KMCAL_G2XYZcntEquals(a["XYZBlack"], b["XYZBlack"]) &&
         DoubleArraySignificantFigureEquals(a["a"], b["a"]) &&
         DoubleArraySignificantFigureEquals(a["b"], b["b"]);
}

bool KMCAL_MEASDATA_USERPROOFEquals(const Value& a, const Value& b) {
  for (const char* patch : {"red", "green", "blue", "white", "black"}) {
    const Value& left = a[patch];
    const Value& right = b[patch];
    if (!KMCAL_G2XYZcntEquals(left["reference"], right["reference"])) return false;
    if (!KMCAL_G2XYZcntEquals(left["XYZ"], right["XYZ"])) return false;
  }
  return true;
}

bool KMCAL_CALDATA_CORRECTEquals(const Value& a, const Value& b) {
  return KMCAL_G2XYZcntEquals(a["reference"], b["reference"]) &&
         KMCAL_G2XYZcntEquals(a["XYZ"], b["XYZ"]);
}

bool KMCAL_MEASDATA_CORRECT_GRAYEquals(const Value& a, const Value& b) {
  return KMCAL_G2XYZcntEquals(a["reference"], b["reference"]) &&
         KMCAL_G2RGBemsEquals(a["RGB"], b["RGB"]);
}

bool R2XC_ValueRGBKEquals(const Value& a, const Value& b) {
  for (const char* patch : {"red", "green", "blue", "black"}) {
    if (!xyzAndRgbEqual(a[patch], b[patch])) return false;
  }
  return true;
}

bool MDCSSG2CalibrationDataEquals(const Value& a, const Value& b) {
  return DoubleNearlyEquals(a["brightness"]["criterion"], b["brightness"]["criterion"], 0.01) &&
         DoubleNearlyEquals(a["temperature"]["criterion"], b["temperature"]["criterion"], 0.01) &&
         a["coefficientType"] == b["coefficientType"] &&
         KMCAL_CALDATA_USERPROOFEquals(a["calibration"], b["calibration"]) &&
         KMCAL_MEASDATA_USERPROOFEquals(a["measurement"], b["measurement"]);
}

bool MDCSSG2CorrectionDataEquals(const Value& a, const Value& b) {
  return DoubleNearlyEquals(a["gamma"], b["gamma"], 0.1) &&
         DoubleNearlyEquals(a["threshold"], b["threshold"], 0.01) &&
         DoubleArraySignificantFigureEquals(a["step"], b["step"]) &&
         KMCAL_CALDATA_CORRECTEquals(a["correction"], b["correction"]) &&
         KMCAL_MEASDATA_CORRECT_GRAYEquals(a["measurement"], b["measurement"]);
}

bool MDCSSG2CorrelationDataExEquals(const Value& a, const Value& b) {
  const Value& leftLevel = a["luminanceLevelCorrection"];
  const Value& rightLevel = b["luminanceLevelCorrection"];
  return MDCSSG2CalibrationDataEquals(a["calibrationData"], b["calibrationData"]) &&
         MDCSSG2CorrectionDataEquals(a["correctionData"], b["correctionData"]) &&
         DoubleNearlyEquals(leftLevel["brightness"], rightLevel["brightness"], 0.1) &&
         leftLevel["dimmerOut"] == rightLevel["dimmerOut"];
}

bool MDIFSv3CorrelationDataEquals(const Value& a, const Value& b) {
  const Value& leftTone = a["referenceTone"];
  const Value& rightTone = b["referenceTone"];
  if (!R2XC_RefParamEquals(a["reference"], b["reference"])) return false;
  if (!DoubleArrayEquals(leftTone["tone"], rightTone["tone"])) return false;
  if (!DoubleArrayEquals(leftTone["gamma"], rightTone["gamma"])) return false;
  if (!R2XC_ValueRGBKEquals(a["normalizedMeasurement"], b["normalizedMeasurement"])) return false;
  for (const char* channel : {"red", "green", "blue"}) {
    if (!xyzAndRgbEqual(a["toneCorrection"][channel], b["toneCorrection"][channel])) return false;
  }
  return true;
}

}  // namespace vesk
