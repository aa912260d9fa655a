// The input position of the parser: a pair of byte iterators.
#ifndef CAIRNJSON_PARSE_ITERATOR_H
#define CAIRNJSON_PARSE_ITERATOR_H

namespace cairnjson {

// The current position and the end of the input; the parse functions advance `current` in place
// and never read at `end`.
template <class It>
struct ParseIterator {
  It current;
  It end;

  [[nodiscard]] bool atEnd() const { return current == end; }
};

}  // namespace cairnjson

#endif  // CAIRNJSON_PARSE_ITERATOR_H
