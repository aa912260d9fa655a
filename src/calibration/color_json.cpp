#include "calibration/color_json.h"

namespace vesk {

namespace {

// The record member a letter names, or null.
template <class Color>
auto* memberFor(Color& color, char letter) {
  switch (letter) {
    case 'X': return &color.X;
    case 'Y': return &color.Y;
    case 'Z': return &color.Z;
    case 'x': return &color.x;
    case 'y': return &color.y;
    case 'u': return &color.u;
    case 'v': return &color.v;
    default: return static_cast<decltype(&color.X)>(nullptr);
  }
}

}  // namespace

cairnjson::Value ColorToJson(const MDColor& color, const std::string& letters) {
  cairnjson::Value json(cairnjson::Type::Object);
  if (letters == "CMYK") {
    json["C"].setDouble(color.cyan);
    json["M"].setDouble(color.magenta);
    json["Y"].setDouble(color.yellow);
    json["K"].setDouble(color.black);
    return json;
  }
  for (const char letter : letters) {
    if (const double* member = memberFor(color, letter)) json[std::string(1, letter)].setDouble(*member);
  }
  return json;
}

MDColor ColorFromJson(const cairnjson::Value& json, const std::string& letters) {
  MDColor color{};
  if (letters == "CMYK") {
    color.cyan = json["C"].toDouble(0.0);
    color.magenta = json["M"].toDouble(0.0);
    color.yellow = json["Y"].toDouble(0.0);
    color.black = json["K"].toDouble(0.0);
    return color;
  }
  for (const char letter : letters) {
    if (double* member = memberFor(color, letter)) *member = json[std::string(1, letter)].toDouble(0.0);
  }
  return color;
}

}  // namespace vesk
