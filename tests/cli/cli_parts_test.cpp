// The standard-stream buffer of the command, on its own: it escapes control
// characters however the text is split (write failures, and the streamed
// JSON the dumps hold, are checked end to end).

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "cli/output.h"
#include "tests/test_util.h"

namespace mandor_cli {
namespace {

TEST(PrintableText, EscapesControlsAndKeepsTextWhateverTheWriteSizes) {
  const struct { std::string in, out; } cases[] = {
      {"a\x1b[2Jb\n\t", "a\\u001b[2Jb\n\t"}, {std::string("nul\0", 4), "nul\\u0000"}, {"\r\x7f", "\\u000d\\u007f"},
      {"csi \xc2\x9b", "csi \\u009b"},
      // Latin-1 letters share the lead byte 0xC2/0xC3 with controls: kept.
      {"\xc2\xa0\xc2\xb0 \xc3\xa9t\xc3\xa9 \xe2\x82\xac", "\xc2\xa0\xc2\xb0 \xc3\xa9t\xc3\xa9 \xe2\x82\xac"},
      {"ends with \xc2", "ends with \xc2"},
  };
  for (const auto& c : cases) EXPECT_EQ(PrintableText(c.in), c.out) << c.in;

  // Through the stream buffer: a C1 control split over its 64 KiB boundary,
  // one at the very end of a write, Latin letters that share its lead byte.
  const std::string text =
      std::string(65535, 'x') + "\xc2\x9b" + std::string(65534, 'y') + "\xc2" + "\x9b\x1b\xc3\xa9 \xc2\xa0" "end";
  char name[] = "/tmp/mandor_fdbuf_XXXXXX";
  const int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  for (size_t piece : {1u, 3u, 4096u, 200000u}) {
    ASSERT_TRUE(ftruncate(fd, 0) == 0 && lseek(fd, 0, SEEK_SET) == 0);
    {
      FdStreamBuf buffer(fd);
      std::ostream out(&buffer);
      for (size_t at = 0; at < text.size(); at += piece) {
        out << text.substr(at, piece);
        if ((at / piece) % 7 == 0) out.flush();
      }
      EXPECT_EQ(buffer.error(), 0);
    }
    EXPECT_EQ(mandor::test_util::ReadBytes(name), PrintableText(text)) << "pieces of " << piece;
  }
  close(fd);
  unlink(name);
}

}  // namespace
}  // namespace mandor_cli
