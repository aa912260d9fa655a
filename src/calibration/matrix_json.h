// Matrices of three columns in JSON: an array of rows, each an array of three numbers, and the
// device libraries' row-major arrays of doubles.
#ifndef QUILBY_CALIBRATION_MATRIX_JSON_H
#define QUILBY_CALIBRATION_MATRIX_JSON_H

#include "json/value.h"

#include <cstddef>

namespace vesk {

// The `rows` rows of three columns of the row-major `matrix`, as floating numbers.
[[nodiscard]] cairnjson::Value MatrixToJson(const double* matrix, std::size_t rows);

// Fills the `rows` x 3 row-major `matrix` from `json`, leniently: a row or cell that is missing
// or not a number reads as 0.0.
void MatrixFromJson(const cairnjson::Value& json, std::size_t rows, double* matrix);

// Whether `json` is exactly three rows of three numbers.
[[nodiscard]] bool IsSquareMatrixJson(const cairnjson::Value& json);

}  // namespace vesk

#endif  // QUILBY_CALIBRATION_MATRIX_JSON_H
