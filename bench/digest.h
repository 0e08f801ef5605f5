// Digests that tell whether two versions of the library made the same thing
// of the same input: a 64-bit FNV-1a hash of a canonical dump of a loaded
// model (the JSON of `mandor dump`, item by item, so that a 200 000-field
// model never needs one huge document in memory), and of a file's bytes.
#ifndef MANDOR_BENCH_DIGEST_H_
#define MANDOR_BENCH_DIGEST_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/cli_platform.h"
#include "mandor/mandor.h"

namespace mandor_bench {

class Digest {
 public:
  void Add(std::string_view text);
  // The hash as 16 hexadecimal digits.
  std::string Hex() const;

 private:
  uint64_t hash_ = 0xCBF29CE484222325ull;
};

// Adds the whole document: its own data and properties, then every member
// of every collection with its key, pages with their rulers and fields.
void AddDocument(Digest& digest, const mandor::Mandor& document);

// Adds the catalogue's own data (not its documents).
void AddCatalogue(Digest& digest, const mandor::cMarquage& catalogue);

// Adds the messages the library showed.
void AddMessages(Digest& digest, const std::vector<mandor_cli::RecordedMessage>& messages);

}  // namespace mandor_bench

#endif  // MANDOR_BENCH_DIGEST_H_
