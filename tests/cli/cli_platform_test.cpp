// The platform the program installs: one line per message, line breaks
// escaped, questions answered by --yes, every message kept for the JSON.

#include <sstream>

#include <gtest/gtest.h>

#include "cli/cli_platform.h"

namespace mandor_cli {
namespace {

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
  // The record keeps the text unescaped, for the JSON.
  ASSERT_EQ(no.messages().size(), 2u);
  EXPECT_EQ(no.messages()[1].text, "Voulez vous écraser\nle marquage ?");
}

}  // namespace
}  // namespace mandor_cli
