// cairnjson::Serializer: cairnjson::Value to JSON text.
//
// The output is byte-exact and deterministic: object members in key order, numbers as
// cairnjson::Double and "%lld" print them, strings escaped by one fixed table (control bytes,
// quotation mark, backslash and DEL; the slash and all bytes 0x80-0xFF pass unchanged, so UTF-8
// is neither escaped nor validated). The tree is walked with an explicit stack, so documents of
// any depth serialize on any stack.
//
// Example (compact, as every response is written):
//   std::string text;
//   auto out = std::back_inserter(text);
//   cairnjson::Serializer::serialize(out, value, {}, -1, nullptr);
#ifndef CAIRNJSON_SERIALIZER_H
#define CAIRNJSON_SERIALIZER_H

#include "json/double.h"
#include "json/value.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

namespace cairnjson {

namespace detail {

// The escape table: 0 writes the byte as it is; any other entry is the letter written after a
// backslash ('u' meaning a \u00XX escape of the byte).
constexpr std::array<char, 256> makeEscapeTable() {
  std::array<char, 256> table{};
  for (int byte = 0; byte < 0x20; ++byte) table[byte] = 'u';
  table[0x08] = 'b';
  table[0x09] = 't';
  table[0x0A] = 'n';
  table[0x0C] = 'f';
  table[0x0D] = 'r';
  table[0x22] = '"';
  table[0x5C] = '\\';
  table[0x7F] = 'u';
  return table;
}
inline constexpr std::array<char, 256> kEscapeTable = makeEscapeTable();

// Writes text through an output iterator; appends whole runs when the iterator appends to a
// std::string.
template <class OutIt>
class TextSink {
 public:
  explicit TextSink(OutIt& out) : out_(out) {}
  void put(char c) { *out_++ = c; }
  void write(const char* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) *out_++ = text[i];
  }

 private:
  OutIt& out_;
};

template <>
class TextSink<std::back_insert_iterator<std::string>> {
 public:
  explicit TextSink(std::back_insert_iterator<std::string>& out) : text_(containerOf(out)) {}
  void put(char c) { text_.push_back(c); }
  void write(const char* text, std::size_t length) { text_.append(text, length); }

 private:
  // back_insert_iterator keeps its container in a protected member.
  struct Access : std::back_insert_iterator<std::string> {
    static std::string& of(std::back_insert_iterator<std::string>& out) {
      return *(out.*(&Access::container));
    }
  };
  static std::string& containerOf(std::back_insert_iterator<std::string>& out) {
    return Access::of(out);
  }

  std::string& text_;
};

}  // namespace detail

class Serializer {
 public:
  // Layout options. The bridge writes with the defaults: no line breaks, no indentation.
  struct Attributes {
    // Line breaks, indentation and a blank after each colon.
    bool pretty = false;
    // Written once per nesting level at the start of each line.
    std::string indentUnit;
    // Written before each member or element and before the closing bracket of a non-empty
    // container.
    std::string lineBreak;
  };

  // Appends `value` as JSON text through `out`, starting at nesting `level` (negative: no line
  // layout at all, whatever `pretty` says). Returns false when a NaN or infinity is met, after
  // writing "Floating point is nan or inf." into `*error` when `error` is not null; the text
  // written before that point stays in the output.
  template <class OutIt>
  static bool serialize(OutIt& out, const Value& value, const Attributes& attributes,
                        const int& level, std::string* error);

  // Appends `text` quoted and escaped.
  template <class OutIt>
  static void serialize_string(OutIt& out, const std::string& text);

  // Appends `lineBreak`, then `indentUnit` `level` times.
  template <class OutIt>
  static void indent(OutIt& out, const Attributes& attributes, const int& level);

 private:
  template <class Sink>
  static void writeString(Sink& sink, const std::string& text);
  template <class Sink>
  static void writeIndent(Sink& sink, const Attributes& attributes, int level);
};

template <class Sink>
void Serializer::writeString(Sink& sink, const std::string& text) {
  static constexpr char kHex[] = "0123456789abcdef";
  sink.put('"');
  const char* run = text.data();
  const char* const end = run + text.size();
  for (const char* c = run; c != end; ++c) {
    const char escape = detail::kEscapeTable[static_cast<unsigned char>(*c)];
    if (escape == 0) continue;
    sink.write(run, static_cast<std::size_t>(c - run));
    run = c + 1;
    if (escape == 'u') {
      const auto byte = static_cast<unsigned char>(*c);
      const char unicode[6] = {'\\', 'u', '0', '0', kHex[byte >> 4], kHex[byte & 0xF]};
      sink.write(unicode, sizeof unicode);
    } else {
      const char pair[2] = {'\\', escape};
      sink.write(pair, sizeof pair);
    }
  }
  sink.write(run, static_cast<std::size_t>(end - run));
  sink.put('"');
}

template <class Sink>
void Serializer::writeIndent(Sink& sink, const Attributes& attributes, int level) {
  sink.write(attributes.lineBreak.data(), attributes.lineBreak.size());
  for (int i = 0; i < level; ++i) sink.write(attributes.indentUnit.data(), attributes.indentUnit.size());
}

template <class OutIt>
void Serializer::serialize_string(OutIt& out, const std::string& text) {
  detail::TextSink<OutIt> sink(out);
  writeString(sink, text);
}

template <class OutIt>
void Serializer::indent(OutIt& out, const Attributes& attributes, const int& level) {
  detail::TextSink<OutIt> sink(out);
  writeIndent(sink, attributes, level);
}

template <class OutIt>
bool Serializer::serialize(OutIt& out, const Value& value, const Attributes& attributes,
                           const int& level, std::string* error) {
  detail::TextSink<OutIt> sink(out);
  // One open array or object: where the walk stands in it and the level of its members.
  struct Open {
    const Value* container;
    std::size_t index;
    Value::Members::const_iterator member;
    int level;
  };
  std::vector<Open> open;
  const bool pretty = attributes.pretty;

  // Writes a scalar, or opens a non-empty container; false on a non-finite number.
  const auto begin = [&](const Value& item, int itemLevel) {
    switch (item.type()) {
      case Type::Null: sink.write("null", 4); return true;
      case Type::Bool:
        if (item.toInt(0)) sink.write("true", 4); else sink.write("false", 5);
        return true;
      case Type::Integer: {
        char text[24];
        const auto printed = std::to_chars(text, text + sizeof text, item.toLLong(0));
        sink.write(text, static_cast<std::size_t>(printed.ptr - text));
        return true;
      }
      case Type::Double: {
        char text[Double::kMaxText];
        std::size_t length = 0;
        if (!Double(item.toDouble(0.0)).format(text, length)) {
          if (error) *error = "Floating point is nan or inf.";
          return false;
        }
        sink.write(text, length);
        return true;
      }
      case Type::String: writeString(sink, item.stringRef()); return true;
      case Type::Object:
      case Type::Array: {
        const bool object = item.isObject();
        sink.put(object ? '{' : '[');
        if (item.size() == 0) {
          sink.put(object ? '}' : ']');
          return true;
        }
        open.push_back(Open{&item, 0, item.members().begin(), itemLevel});
        return true;
      }
      default: return true;
    }
  };

  if (!begin(value, level)) return false;
  while (!open.empty()) {
    Open& top = open.back();
    const int inner = top.level >= 0 ? top.level + 1 : top.level;
    const bool object = top.container->isObject();
    const std::size_t count = top.container->size();
    if (top.index == count) {
      if (top.level >= 0 && pretty) writeIndent(sink, attributes, top.level);
      sink.put(object ? '}' : ']');
      open.pop_back();
      continue;
    }
    if (top.index != 0) sink.put(',');
    if (inner >= 0 && pretty) writeIndent(sink, attributes, inner);
    const Value* item;
    if (object) {
      writeString(sink, top.member->first);
      sink.put(':');
      if (pretty) sink.put(' ');
      item = &top.member->second;
      ++top.member;
    } else {
      item = &top.container->elements()[top.index];
    }
    ++top.index;
    // `top` may dangle from here: begin() can push.
    if (!begin(*item, inner)) return false;
  }
  return true;
}

}  // namespace cairnjson

#endif  // CAIRNJSON_SERIALIZER_H
