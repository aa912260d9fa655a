#include "calibration/matrix_json.h"

namespace vesk {

namespace {

constexpr std::size_t kColumns = 3;

}  // namespace

cairnjson::Value MatrixToJson(const double* matrix, std::size_t rows) {
  cairnjson::Value json(cairnjson::Type::Array);
  for (std::size_t row = 0; row < rows; ++row) {
    cairnjson::Value columns(cairnjson::Type::Array);
    for (std::size_t column = 0; column < kColumns; ++column) {
      columns.push_back(cairnjson::Value::makeDouble(matrix[row * kColumns + column]));
    }
    json.push_back(columns);
  }
  return json;
}

void MatrixFromJson(const cairnjson::Value& json, std::size_t rows, double* matrix) {
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      matrix[row * kColumns + column] = json[row][column].toDouble(0.0);
    }
  }
}

bool IsSquareMatrixJson(const cairnjson::Value& json) {
  if (!json.isArray() || json.size() != kColumns) return false;
  for (const cairnjson::Value& cells : json.elements()) {
    if (!cells.isArray() || cells.size() != kColumns) return false;
    for (const cairnjson::Value& cell : cells.elements()) {
      if (!cell.isNumber()) return false;
    }
  }
  return true;
}

}  // namespace vesk
