// The standard-stream buffer of the command, on its own: it escapes control
// characters however the text is split into writes, flushes and its 64 KiB
// buffer (write failures and the streamed dumps are checked end to end).

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "cli/output.h"
#include "tests/test_util.h"

namespace mandor_cli {
namespace {

TEST(PrintableText, EscapesControlsAndKeepsTextHoweverTheWritesAreSplit) {
  const std::string x(65535, 'x');
  const struct { std::string in, out; } cases[] = {
      {"a\x1b[2Jb\n\t", "a\\u001b[2Jb\n\t"}, {std::string("nul\0", 4), "nul\\u0000"}, {"\r\x7f", "\\u000d\\u007f"},
      // A C1 control (U+009B); Latin-1 letters share its lead byte 0xC2 or 0xC3: kept.
      {"csi \xc2\x9b", "csi \\u009b"},
      {"\xc2\xa0\xc2\xb0 \xc3\xa9t\xc3\xa9 \xe2\x82\xac", "\xc2\xa0\xc2\xb0 \xc3\xa9t\xc3\xa9 \xe2\x82\xac"},
      {"ends with \xc2", "ends with \xc2"},
      // Across the buffer's end.
      {x + "\xc2\x9b" + x + "\xc2\xa0" "end", x + "\\u009b" + x + "\xc2\xa0" "end"},
  };
  char name[] = "/tmp/mandor_fdbuf_XXXXXX";
  const int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  for (const auto& c : cases) {
    EXPECT_EQ(PrintableText(c.in), c.out) << c.in.substr(0, 20);
    for (const int mode : {0, 1, 2}) {  // byte by byte, flushed after each or not; in one write
      ASSERT_TRUE(ftruncate(fd, 0) == 0 && lseek(fd, 0, SEEK_SET) == 0);
      {
        FdStreamBuf buffer(fd);
        std::ostream out(&buffer);
        for (size_t at = 0; at < c.in.size(); at += mode == 2 ? c.in.size() : 1) {
          out << c.in.substr(at, mode == 2 ? c.in.size() : 1);
          if (mode == 0) out.flush();
        }
        EXPECT_EQ(buffer.error(), 0);
      }
      EXPECT_EQ(mandor::test_util::ReadBytes(name), c.out) << c.in.substr(0, 20) << " mode " << mode;
    }
  }
  close(fd);
  unlink(name);
}

}  // namespace
}  // namespace mandor_cli
