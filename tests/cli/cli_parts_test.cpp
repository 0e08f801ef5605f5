// Parts of the command tested on their own: the standard-stream buffer that
// escapes control characters however the text is split (write failures, and
// the streamed JSON the dumps hold, are checked end to end), and the platform
// the program installs: one line per message, questions answered by --yes,
// every message kept for the JSON.

#include <fcntl.h>
#include <unistd.h>

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "cli/cli_platform.h"
#include "cli/output.h"
#include "tests/test_util.h"

namespace mandor_cli {
namespace {

TEST(PrintableText, EscapesControlsAndKeepsTextWhateverTheWriteSizes) {
  const struct { std::string in, out; } cases[] = {
      {"a\x1b[2Jb", "a\\u001b[2Jb"},
      {"line\nnext\ttab", "line\nnext\ttab"},
      {std::string("nul\0end", 7), "nul\\u0000end"},
      {"cr\r del\x7f", "cr\\u000d del\\u007f"},
      {"csi \xc2\x9b and \xc2\x80", "csi \\u009b and \\u0080"},
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
    ASSERT_EQ(ftruncate(fd, 0), 0);
    ASSERT_EQ(lseek(fd, 0, SEEK_SET), 0);
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

TEST(CliPlatform, PrintsRecordsAndAnswers) {
  EXPECT_EQ(MessageLine("Erreur Fichier", "ligne 1\r\nligne 2\nligne 3\rfin"),
            "[Erreur Fichier] ligne 1\\nligne 2\\nligne 3\\nfin");
  std::ostringstream err;
  CliPlatform no(err, false), yes(err, true);
  no.Message("Fichier absent", "Erreur Fichier", mandor::MessageStyle::kExclamation);
  EXPECT_FALSE(no.AskYesNo("Voulez vous écraser\nle marquage ?", ""));
  EXPECT_TRUE(yes.AskYesNo("Écraser ?", "Question"));
  EXPECT_EQ(err.str(), "[Erreur Fichier] Fichier absent\n[MandorDLL] Voulez vous écraser\\nle marquage ?\n"
                       "[Question] Écraser ?\n");
  ASSERT_EQ(no.messages().size(), 2u);
  EXPECT_EQ(no.messages()[1].text, "Voulez vous écraser\nle marquage ?");  // unescaped, for the JSON
}

}  // namespace
}  // namespace mandor_cli
