#include "mandor/util/error.h"

namespace mandor {

std::string Error::DefaultDescription(int number) {
  switch (number) {
    case kInvalidArgument: return "Invalid procedure call or argument";
    case kOverflow: return "Overflow";
    case kSubscriptOutOfRange: return "Subscript out of range";
    case kDivisionByZero: return "Division by zero";
    case kTypeMismatch: return "Type mismatch";
    case kBadFileNameOrNumber: return "Bad file name or number";
    case kFileNotFound: return "File not found";
    case kBadFileMode: return "Bad file mode";
    case kFileAlreadyOpen: return "File already open";
    case kInputPastEndOfFile: return "Input past end of file";
    case kPermissionDenied: return "Permission denied";
    case kPathFileAccessError: return "Path/File access error";
    case kPathNotFound: return "Path not found";
    case kObjectNotSet: return "Object variable or With block variable not set";
    case kDuplicateKey: return "This key is already associated with an element of this collection";
    default: return "Application-defined or object-defined error";
  }
}

void ThrowError(int number) { throw Error(number, Error::DefaultDescription(number)); }

void ThrowError(int number, const std::string& description) { throw Error(number, description); }

}  // namespace mandor
