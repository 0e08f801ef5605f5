// The bodies of the fuzz targets: each one feeds arbitrary bytes to one
// entry point of the library the way a user's file or a host's text would
// reach it, and aborts when the library misbehaves (an exception other than
// mandor::Error, or a documented property that does not hold). The libFuzzer
// drivers in this folder call them, and so does the test suite when it
// replays the regression corpus, so a saved crashing input runs exactly the
// code the fuzzer ran.
//
// Every body installs an in-memory platform of its own for the call, so no
// input touches the disk.
#ifndef MANDOR_FUZZ_FUZZ_TARGETS_H_
#define MANDOR_FUZZ_FUZZ_TARGETS_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mandor::fuzz {

// The extended text reader on a ".xnf" file holding the bytes; what loads is
// saved again in both layouts and read back.
void ExtendedReader(const uint8_t* data, size_t size);
// The standard text reader on a ".cnf" file holding the bytes, then the same
// round trip.
void StandardReader(const uint8_t* data, size_t size);
// The catalogue reader on a workbook holding the bytes; every document read
// is written back into it, the first one again after edits (a new row, new
// fields, one deleted), an engagement act is added, and the workbook is read
// again.
void CatalogueReader(const uint8_t* data, size_t size);
// The string, number and escaping routines on pieces of the bytes, with the
// round-trip properties their interfaces promise.
void StringRoutines(const uint8_t* data, size_t size);

// A target by its name ("xnf", "cnf", "catalogue", "strings"), or nullptr.
using TargetBody = void (*)(const uint8_t* data, size_t size);
TargetBody TargetNamed(std::string_view name);

}  // namespace mandor::fuzz

#endif  // MANDOR_FUZZ_FUZZ_TARGETS_H_
