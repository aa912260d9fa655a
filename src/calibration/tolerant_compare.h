// Tolerant comparison of calibration and correlation records in their JSON form.
//
// The numbers of these records have passed through text and through the sensors' own storage,
// so records are compared member by member within tolerances instead of exactly. Every function
// here reads its arguments only through the const lookups of cairnjson::Value: a missing member
// reads as null, and every number is read with toDouble(0.0) (booleans as 0.0/1.0, numeric
// strings parsed, every other kind 0.0). So a number member missing on both sides compares
// equal. Nothing here fails or takes a lock; only a failed allocation (std::bad_alloc) escapes.
#ifndef QUILBY_CALIBRATION_TOLERANT_COMPARE_H
#define QUILBY_CALIBRATION_TOLERANT_COMPARE_H

namespace cairnjson {
class Value;
}

namespace vesk {

// Whether |a - b| < tolerance, strictly: a difference equal to the tolerance is unequal (1.0 and
// 1.1 at 0.1 are unequal, since the computed difference is 0.10000000000000009). A NaN on
// either side is unequal.
[[nodiscard]] bool DoubleNearlyEquals(const cairnjson::Value& a, const cairnjson::Value& b,
                                      double tolerance);

// Whether a and b agree when both are rounded to `figures` significant figures of a. The
// decimal exponent e of a decides the scale for both: e is the count of integer digits when
// |a| >= 1 (5 -> 1, 999 -> 3), and -1, -2, ... for |a| < 1, one step lower for each factor of
// ten that |a| * 10 needs to rise above 1 (0.5 -> -1, 0.1 -> -2, 0.05 -> -2). Below e = -3 the
// figure count becomes e + 9, so tiny values are compared to a fixed 1e-8 grid. Each value is
// then scaled to about `figures` digits, offset by +0.5 when non-negative and -0.4 when negative,
// and truncated toward zero to 32 bits; the two integers must match.
//
// Deliberate asymmetries; they are part of the rule, and changing them would change which stored
// records match:
//   - a zero `a` equals every b: SignificantFigureEquals(0, 5, 6) is true, (5, 0, 6) is false;
//   - the rounding offsets differ by sign: (-1.25, -1.25, 2) scales both to -12.5 - 0.4 -> -12.
// Defined behaviour beyond the 32-bit rule:
//   - a NaN or infinite `a` is unequal to everything, itself included;
//   - when either scaled value does not fit a signed 32-bit integer (NaN included; this happens
//     for a far-off or non-finite b, or a figure count above 9), the figure count cannot be
//     honoured, and the result is whether a and b are the same number.
// Examples: (123.4567, 123.4568, 6) is true, both giving 123457; with 7 figures it is false.
[[nodiscard]] bool SignificantFigureEquals(const cairnjson::Value& a, const cairnjson::Value& b,
                                           int figures);

// Whether a and b are arrays of the same size whose elements agree pairwise: where a's element
// is an array, b's must be an array too and the pair is compared by this rule; otherwise the two
// elements are read as numbers and must be DoubleNearlyEquals at 0.0001 (so a non-array element
// of a against an array of b compares against 0.0). Two empty arrays are equal; a non-array
// argument is unequal to everything. Nested arrays are walked with a heap work stack, so any
// depth is safe on a small thread stack.
[[nodiscard]] bool DoubleArrayEquals(const cairnjson::Value& a, const cairnjson::Value& b);

// DoubleArrayEquals with the number pairs compared by SignificantFigureEquals at 6 figures.
[[nodiscard]] bool DoubleArraySignificantFigureEquals(const cairnjson::Value& a,
                                                      const cairnjson::Value& b);

// Structure comparators, one per calibration structure. Each is true when every member listed
// agrees by its rule; evaluation stops at the first member that differs, in the order listed.
// Members not listed are ignored. "Sig6" is SignificantFigureEquals at 6 figures; "below t" is
// DoubleNearlyEquals at tolerance t; "exact" is Value equality (Integer 1 and Double 1.0 differ).
// A member compared by an array rule must be an array on both sides.

// "R", "G", "B": Sig6.
[[nodiscard]] bool KMCAL_G2RGBemsEquals(const cairnjson::Value& a, const cairnjson::Value& b);
// "X", "Y", "Z": Sig6.
[[nodiscard]] bool KMCAL_G2XYZcntEquals(const cairnjson::Value& a, const cairnjson::Value& b);
// "ambientTemperature", "setTemperature": below 0.00001; "dimmerOut": exact; "tone" inside each
// of "red", "green", "blue": below 0.1.
[[nodiscard]] bool R2XC_RefParamEquals(const cairnjson::Value& a, const cairnjson::Value& b);
// "XYZ0", "XYZBlack": KMCAL_G2XYZcntEquals; "a", "b": DoubleArraySignificantFigureEquals.
[[nodiscard]] bool KMCAL_CALDATA_USERPROOFEquals(const cairnjson::Value& a,
                                                 const cairnjson::Value& b);
// For each of "red", "green", "blue", "white", "black": its "reference" and its "XYZ" by
// KMCAL_G2XYZcntEquals.
[[nodiscard]] bool KMCAL_MEASDATA_USERPROOFEquals(const cairnjson::Value& a,
                                                  const cairnjson::Value& b);
// "reference", "XYZ": KMCAL_G2XYZcntEquals.
[[nodiscard]] bool KMCAL_CALDATA_CORRECTEquals(const cairnjson::Value& a,
                                               const cairnjson::Value& b);
// "reference": KMCAL_G2XYZcntEquals; "RGB": KMCAL_G2RGBemsEquals.
[[nodiscard]] bool KMCAL_MEASDATA_CORRECT_GRAYEquals(const cairnjson::Value& a,
                                                     const cairnjson::Value& b);
// Each of "red", "green", "blue", "black" (which carry X, Y, Z and R, G, B together): by
// KMCAL_G2XYZcntEquals and KMCAL_G2RGBemsEquals.
[[nodiscard]] bool R2XC_ValueRGBKEquals(const cairnjson::Value& a, const cairnjson::Value& b);
// "criterion" inside "brightness" and inside "temperature": below 0.01; "coefficientType": exact;
// "calibration": KMCAL_CALDATA_USERPROOFEquals; "measurement": KMCAL_MEASDATA_USERPROOFEquals.
[[nodiscard]] bool MDCSSG2CalibrationDataEquals(const cairnjson::Value& a,
                                                const cairnjson::Value& b);
// "gamma": below 0.1; "threshold": below 0.01; "step": DoubleArraySignificantFigureEquals;
// "correction": KMCAL_CALDATA_CORRECTEquals; "measurement": KMCAL_MEASDATA_CORRECT_GRAYEquals.
[[nodiscard]] bool MDCSSG2CorrectionDataEquals(const cairnjson::Value& a,
                                               const cairnjson::Value& b);
// "calibrationData": MDCSSG2CalibrationDataEquals; "correctionData": MDCSSG2CorrectionDataEquals;
// inside "luminanceLevelCorrection": "brightness" below 0.1 and "dimmerOut" exact.
[[nodiscard]] bool MDCSSG2CorrelationDataExEquals(const cairnjson::Value& a,
                                                  const cairnjson::Value& b);
// "reference": R2XC_RefParamEquals; "tone" and "gamma" inside "referenceTone": DoubleArrayEquals;
// "normalizedMeasurement": R2XC_ValueRGBKEquals; "red", "green", "blue" inside "toneCorrection":
// KMCAL_G2XYZcntEquals and KMCAL_G2RGBemsEquals.
[[nodiscard]] bool MDIFSv3CorrelationDataEquals(const cairnjson::Value& a,
                                                const cairnjson::Value& b);

}  // namespace vesk

#endif  // QUILBY_CALIBRATION_TOLERANT_COMPARE_H
