// mandor::Error is the one exception type that reaches a host. It carries the
// classic automation error number (5 invalid argument, 6 overflow, 9 subscript
// out of range, 11 division by zero, 13 type mismatch, 53 file not found,
// 457 duplicate key, ...) beside a human description, so that a host written
// against the original automation component can keep testing numbers.
//
// Thread safety: none needed; everything here is stateless.
#ifndef MANDOR_UTIL_ERROR_H_
#define MANDOR_UTIL_ERROR_H_

#include <stdexcept>
#include <string>
#include <utility>

namespace mandor {

// Error numbers used by the library.
enum ErrorNumber : int {
  kInvalidArgument = 5,     // invalid procedure call or argument (also: missing key)
  kOverflow = 6,
  kSubscriptOutOfRange = 9,
  kDivisionByZero = 11,
  kTypeMismatch = 13,
  kBadFileNameOrNumber = 52,
  kFileNotFound = 53,
  kBadFileMode = 54,
  kFileAlreadyOpen = 55,
  kInputPastEndOfFile = 62,
  kPermissionDenied = 70,
  kPathFileAccessError = 75,
  kPathNotFound = 76,
  kObjectNotSet = 91,       // object variable not set
  kDuplicateKey = 457,
};

class Error : public std::runtime_error {
 public:
  Error(int number, const std::string& description)
      : std::runtime_error(description), number_(number) {}

  int number() const noexcept { return number_; }

  // The standard description of a classic automation error number.
  static std::string DefaultDescription(int number);

 private:
  int number_;
};

// Runs step and swallows what it throws, for the best-effort procedures of
// the model that carry on after a failing statement (a property keeps its
// former value, a missing collection member is skipped). It swallows every
// std::exception, not only Error: the standard library's own failures
// (out_of_range, length_error, bad_alloc of an absurd size) are errors of
// that statement too, and letting them through would stop the procedure
// half-way on one input and not on another. Anything that is not a
// std::exception is not ours and goes through. True when step ran to its end.
template <class Step>
bool RunIgnoringErrors(Step&& step) {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// Throws Error(number, DefaultDescription(number)).
[[noreturn]] void ThrowError(int number);
// Throws Error(number, description).
[[noreturn]] void ThrowError(int number, const std::string& description);

}  // namespace mandor

#endif  // MANDOR_UTIL_ERROR_H_
