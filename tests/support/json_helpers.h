// Small helpers shared by the tests that read and write JSON.
#ifndef QUILBY_TESTS_SUPPORT_JSON_HELPERS_H
#define QUILBY_TESTS_SUPPORT_JSON_HELPERS_H

#include "json/cairnjson.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <initializer_list>
#include <locale.h>
#include <sstream>
#include <string>
#include <vector>

namespace quilby_test {

// Compact JSON text of `value`, as the bridge writes it.
inline std::string compact(const cairnjson::Value& value) {
  return cairnjson::Serializer::compact(value);
}

// The JSON array of `texts`.
inline std::string jsonStrings(const std::vector<std::string>& texts) {
  cairnjson::Value list(cairnjson::Type::Array);
  for (const std::string& text : texts) list.push_back(cairnjson::Value::makeString(text));
  return compact(list);
}

// Parses `text` into a fresh value; the test fails on a parse error.
inline cairnjson::Value parsed(const std::string& text) {
  cairnjson::Parser parser;
  cairnjson::Value value;
  if (!parser.parse(text, value)) ADD_FAILURE() << "parse of " << text << ": " << parser.error();
  return value;
}

// The value at `place` inside `value`, made on the way where missing: keys and array indexes
// joined by ".", an index also written "[n]" ("monitors[0].serial").
inline cairnjson::Value& valueAt(cairnjson::Value& value, std::string place) {
  std::replace(place.begin(), place.end(), '[', '.');
  std::erase(place, ']');
  std::istringstream parts(place);
  cairnjson::Value* at = &value;
  for (std::string part; std::getline(parts, part, '.');) {
    at = std::isdigit(static_cast<unsigned char>(part[0])) ? &(*at)[std::stoul(part)] : &(*at)[part];
  }
  return *at;
}

// Switches the calling thread to the first of the named locales that is installed, for its
// lifetime.
class ScopedLocale {
 public:
  explicit ScopedLocale(std::initializer_list<const char*> names) {
    for (const char* name : names) {
      locale_ = newlocale(LC_ALL_MASK, name, static_cast<locale_t>(0));
      if (locale_) break;
    }
    if (locale_) previous_ = uselocale(locale_);
  }
  ~ScopedLocale() {
    if (!locale_) return;
    uselocale(previous_);
    freelocale(locale_);
  }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

  // False when none is installed; tests then fail loudly rather than pass vacuously.
  bool active() const { return locale_ != static_cast<locale_t>(0); }

 private:
  locale_t locale_ = static_cast<locale_t>(0);
  locale_t previous_ = static_cast<locale_t>(0);
};

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_JSON_HELPERS_H
