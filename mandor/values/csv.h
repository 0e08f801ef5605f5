// The value files `mandor fill` reads: one "name;value" or "name,value" pair
// a line, UTF-8 (with or without a byte-order mark) or Windows-1252, with an
// optional header line. Fields may be quoted with double quotes ("" inside
// stands for one quote), so that a value may hold the separator.
//
// Thread-safety: reentrant.
#ifndef MANDOR_VALUES_CSV_H_
#define MANDOR_VALUES_CSV_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mandor::values {

struct NameValue {
  std::string name;   // trimmed
  std::string value;  // trimmed unless quoted
  int line = 0;       // 1-based line number in the file
};

struct CsvResult {
  std::vector<NameValue> pairs;
  std::vector<std::string> errors;  // "line N: why", one per malformed line
};

// Reads the bytes of a value file. The separator is ";" when the first line
// that is not blank holds one outside quotes, else ",". The first pair is a
// header, and left out, when is_known(name) is false for its name and its
// value is not a number. Blank lines are skipped; a line without exactly two
// fields, with an empty name or an unterminated quote is an error.
CsvResult ReadValueFile(std::string_view bytes, const std::function<bool(const std::string&)>& is_known);

}  // namespace mandor::values

#endif  // MANDOR_VALUES_CSV_H_
