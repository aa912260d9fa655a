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
// or, the same in short: cairnjson::Serializer::compact(value, text).
#ifndef CAIRNJSON_SERIALIZER_H
#define CAIRNJSON_SERIALIZER_H

#include "json/double.h"
#include "json/double_format.h"
#include "json/value.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

// Copies `length` bytes. Most pieces of JSON text are a few bytes, for which two overlapping
// word copies beat a call to memcpy.
inline void copyShort(char* to, const char* from, std::size_t length) {
  if (length >= 16) {
    std::memcpy(to, from, length);
  } else if (length >= 8) {
    std::uint64_t head, tail;
    std::memcpy(&head, from, 8);
    std::memcpy(&tail, from + length - 8, 8);
    std::memcpy(to, &head, 8);
    std::memcpy(to + length - 8, &tail, 8);
  } else if (length >= 4) {
    std::uint32_t head, tail;
    std::memcpy(&head, from, 4);
    std::memcpy(&tail, from + length - 4, 4);
    std::memcpy(to, &head, 4);
    std::memcpy(to + length - 4, &tail, 4);
  } else {
    for (std::size_t i = 0; i < length; ++i) to[i] = from[i];
  }
}

// Collects the output in a local buffer and hands it to the output iterator in chunks, so that
// the many small pieces of JSON text cost a few register moves each. A back-insert iterator into
// a std::string receives whole chunks with one append; any other iterator byte by byte. The
// destructor flushes, so the text written before a failure reaches the output too.
template <class OutIt>
class TextSink {
 public:
  static constexpr std::size_t kCapacity = 8192;

  explicit TextSink(OutIt& out) : out_(out) {}
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;
  ~TextSink() { flush(); }

  void put(char c) {
    if (cursor_ == buffer_ + kCapacity) flush();
    *cursor_++ = c;
  }

  void write(const char* text, std::size_t length) {
    if (length <= static_cast<std::size_t>(buffer_ + kCapacity - cursor_)) {
      copyShort(cursor_, text, length);
      cursor_ += length;
      return;
    }
    flush();
    if (length > kCapacity) {
      emit(text, length);
      return;
    }
    std::memcpy(cursor_, text, length);
    cursor_ += length;
  }

  // Room for `length` (at most kCapacity) bytes to be written at the returned position, then
  // handed back with commit().
  char* room(std::size_t length) {
    if (length > static_cast<std::size_t>(buffer_ + kCapacity - cursor_)) flush();
    return cursor_;
  }
  void commit(char* end) { cursor_ = end; }

  void flush() {
    emit(buffer_, static_cast<std::size_t>(cursor_ - buffer_));
    cursor_ = buffer_;
  }

 private:
  void emit(const char* text, std::size_t length) {
    if constexpr (std::is_same_v<OutIt, std::back_insert_iterator<std::string>>) {
      BackInsertAccess::target(out_).append(text, length);
    } else {
      for (std::size_t i = 0; i < length; ++i) *out_++ = text[i];
    }
  }

  // back_insert_iterator keeps its container in a protected member.
  struct BackInsertAccess : std::back_insert_iterator<std::string> {
    static std::string& target(std::back_insert_iterator<std::string>& out) {
      return *(out.*(&BackInsertAccess::container));
    }
  };

  OutIt& out_;
  char* cursor_ = buffer_;
  char buffer_[kCapacity];
};

// Whether any of the bytes of `word` (eight, or four in a 32-bit word) must be escaped: a
// control byte, '"', '\\' or DEL.
template <class Word>
[[nodiscard]] inline bool needsEscape(Word word) {
  constexpr Word kOnes = static_cast<Word>(0x0101010101010101ULL);
  constexpr Word kHighs = static_cast<Word>(0x8080808080808080ULL);
  const auto hasZeroByte = [](Word v) { return static_cast<Word>((v - kOnes) & ~v & kHighs); };
  const Word control = static_cast<Word>((word - kOnes * 0x20) & ~word & kHighs);
  return (control | hasZeroByte(word ^ (kOnes * '"')) | hasZeroByte(word ^ static_cast<Word>(kOnes * '\\')) |
          hasZeroByte(word ^ (kOnes * 0x7F))) != 0;
}

// Whether any of the `length` bytes at `text` must be escaped.
[[nodiscard]] inline bool anyNeedsEscape(const char* text, std::size_t length) {
  if (length >= 8) {
    std::uint64_t word;
    for (std::size_t i = 0; i + 8 <= length; i += 8) {
      std::memcpy(&word, text + i, 8);
      if (needsEscape(word)) return true;
    }
    std::memcpy(&word, text + length - 8, 8);
    return needsEscape(word);
  }
  if (length >= 4) {
    std::uint32_t head, tail;
    std::memcpy(&head, text, 4);
    std::memcpy(&tail, text + length - 4, 4);
    return needsEscape(head) || needsEscape(tail);
  }
  for (std::size_t i = 0; i < length; ++i) {
    if (kEscapeTable[static_cast<unsigned char>(text[i])] != 0) return true;
  }
  return false;
}

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
  [[nodiscard]] static bool serialize(OutIt& out, const Value& value, const Attributes& attributes,
                        const int& level, std::string* error);

  // Appends `text` quoted and escaped.
  template <class OutIt>
  static void serialize_string(OutIt& out, const std::string& text);

  // Shorthands for the compact layout: append `value` to `text` (false, with the text written so
  // far, when a NaN or infinity is met), or return the text of `value` (cut short at such a
  // number, for callers whose values cannot hold one).
  [[nodiscard]] static bool compact(const Value& value, std::string& text) {
    auto out = std::back_inserter(text);
    return serialize(out, value, Attributes{}, -1, nullptr);
  }
  [[nodiscard]] static std::string compact(const Value& value) {
    std::string text;
    (void)compact(value, text);
    return text;
  }

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
  // Keys and most values are short and need no escape: quoted in one piece.
  constexpr std::size_t kShort = 64;
  if (text.size() <= kShort && !detail::anyNeedsEscape(text.data(), text.size())) {
    char* out = sink.room(kShort + 2);
    out[0] = '"';
    detail::copyShort(out + 1, text.data(), text.size());
    out[text.size() + 1] = '"';
    sink.commit(out + text.size() + 2);
    return;
  }
  sink.put('"');
  const char* run = text.data();
  const char* const end = run + text.size();
  for (const char* c = run; c != end; ++c) {
    while (end - c >= 8) {
      std::uint64_t word;
      std::memcpy(&word, c, sizeof word);
      if (detail::needsEscape(word)) break;
      c += 8;
    }
    if (c == end) break;
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

namespace detail {

// The containers open while serializing. The first few are kept in place and only deeper
// documents use the heap, so that a small answer is written without allocating.
template <class Item, std::size_t kInPlace>
class SerializeStack {
 public:
  [[nodiscard]] bool empty() const { return size_ == 0; }
  Item& back() { return size_ <= kInPlace ? inPlace_[size_ - 1] : deeper_.back(); }
  void push_back(const Item& item) {
    if (size_ < kInPlace) {
      inPlace_[size_] = item;
    } else {
      deeper_.push_back(item);
    }
    ++size_;
  }
  void pop_back() {
    if (size_ > kInPlace) deeper_.pop_back();
    --size_;
  }

 private:
  std::size_t size_ = 0;
  Item inPlace_[kInPlace];
  std::vector<Item> deeper_;
};

}  // namespace detail

template <class OutIt>
bool Serializer::serialize(OutIt& out, const Value& value, const Attributes& attributes,
                           const int& level, std::string* error) {
  detail::TextSink<OutIt> sink(out);
  // One open array or object: the items still to write and the level of its members. Every
  // field is set when it is pushed, so the unused places of the stack stay uninitialised.
  struct Open {
    bool object;
    bool first;
    int level;
    const Value* element;
    const Value* elementsEnd;
    Value::Members::const_iterator member;
    Value::Members::const_iterator membersEnd;
  };
  detail::SerializeStack<Open, 16> open;
  const bool pretty = attributes.pretty;
  const detail::DecimalPoint decimalPoint = detail::localeDecimalPoint();

  // Each turn writes one item (a scalar whole, a container's opening bracket), then moves on to
  // the next item, closing the containers that are done on the way.
  const Value* item = &value;
  int itemLevel = level;
  for (;;) {
    switch (item->type()) {
      case Type::Null: sink.write("null", 4); break;
      case Type::Bool:
        if (item->toInt(0)) sink.write("true", 4); else sink.write("false", 5);
        break;
      case Type::Integer: {
        char* text = sink.room(detail::kIntegerTextRoom);
        sink.commit(detail::writeInteger(text, item->toLLong(0)));
        break;
      }
      case Type::Double: {
        char* text = sink.room(detail::kDoubleTextRoom);
        std::size_t length = 0;
        if (!detail::formatDouble(item->toDouble(0.0), decimalPoint, text, length)) {
          if (error) *error = "Floating point is nan or inf.";
          return false;
        }
        sink.commit(text + length);
        break;
      }
      case Type::String: writeString(sink, item->stringRef()); break;
      case Type::Object: {
        const Value::Members& members = item->members();
        sink.put('{');
        if (members.empty()) {
          sink.put('}');
        } else {
          open.push_back(Open{true, true, itemLevel, nullptr, nullptr, members.begin(), members.end()});
        }
        break;
      }
      case Type::Array: {
        const Value::Elements& elements = item->elements();
        sink.put('[');
        if (elements.empty()) {
          sink.put(']');
        } else {
          open.push_back(Open{false, true, itemLevel, elements.data(),
                              elements.data() + elements.size(), {}, {}});
        }
        break;
      }
      default: break;
    }

    for (;;) {
      if (open.empty()) return true;
      Open& top = open.back();
      const bool done = top.object ? top.member == top.membersEnd : top.element == top.elementsEnd;
      if (!done) break;
      if (top.level >= 0 && pretty) writeIndent(sink, attributes, top.level);
      sink.put(top.object ? '}' : ']');
      open.pop_back();
    }
    Open& top = open.back();
    if (!top.first) sink.put(',');
    top.first = false;
    itemLevel = top.level >= 0 ? top.level + 1 : top.level;
    if (itemLevel >= 0 && pretty) writeIndent(sink, attributes, itemLevel);
    if (top.object) {
      writeString(sink, top.member->first);
      sink.put(':');
      if (pretty) sink.put(' ');
      item = &top.member->second;
      ++top.member;
      if (top.member != top.membersEnd) top.member->second.prefetch();
    } else {
      item = top.element++;
      if (top.element != top.elementsEnd) top.element->prefetch();
    }
  }
}

}  // namespace cairnjson

#endif  // CAIRNJSON_SERIALIZER_H
