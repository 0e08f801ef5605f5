// Kills a child process with SIGKILL while it saves a large text marking or
// a large catalogue on the real file system, at many different moments, and
// checks that the file left on disk is always the old one or the new one,
// complete, byte for byte.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "mandor/util/platform.h"
#include "tests/textfile/textfile_test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

namespace fs = std::filesystem;

using test_util::ReadBytes;
using test_util::WriteBytes;

// A fresh folder under the system's temporary directory, removed at the end.
class CrashSafetyTest : public ::testing::Test {
 protected:
  CrashSafetyTest()
      : dir_(fs::temp_directory_path() / ("mandor-crash-" + std::to_string(getpid()))),
        scope_(std::make_shared<SystemPlatform>()) {
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  ~CrashSafetyTest() override { fs::remove_all(dir_); }

  // Runs save in a child process: to the end once, to learn the new content
  // and how long a save takes, then 30 times killed after a delay spread
  // over that time. Before each run the target holds old_bytes.
  void KillDuringSaves(const fs::path& target, const std::string& old_bytes, const std::function<void()>& save) {
    // Returns the child's wait status.
    const auto run = [&](std::optional<std::chrono::microseconds> kill_after) {
      WriteBytes(target, old_bytes);
      const pid_t child = fork();
      if (child == 0) save(), _exit(0);
      if (kill_after) std::this_thread::sleep_for(*kill_after), kill(child, SIGKILL);
      int status = -1;
      EXPECT_EQ(waitpid(child, &status, 0), child);
      return status;
    };
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(run(std::nullopt), 0);
    const auto full = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    const std::string new_bytes = ReadBytes(target);
    ASSERT_NE(new_bytes, old_bytes);

    std::mt19937 random(7);
    int old_seen = 0, new_seen = 0;
    for (int i = 0; i < 30; ++i) {
      // Spread over 1.2 times a whole save, so some kills come after the end.
      const auto delay = std::chrono::microseconds(random() % (full.count() * 6 / 5 + 1));
      run(delay);
      const std::string now = ReadBytes(target);
      ASSERT_TRUE(now == old_bytes || now == new_bytes)
          << "after a kill at " << delay.count() << " us: " << now.size() << " bytes, old " << old_bytes.size()
          << ", new " << new_bytes.size();
      (now == old_bytes ? old_seen : new_seen)++;
    }
    RecordProperty("old_kept", old_seen);
    RecordProperty("new_written", new_seen);
  }

  fs::path dir_;
  ScopedPlatform scope_;
};

TEST_F(CrashSafetyTest, KilledTextSaveLeavesOldOrNewMarking) {
  using namespace textfile_test;
  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = dir_.string() + "/", doc->Nom_Document("grand.det");
  AddRuler(doc, doc->Regles_V, "V1", "Prix", 2, {12.9f, 0, 1520, 0, 3.5f}, 1);
  for (int p = 1; p <= 10; ++p) {
    auto page = AddPage(doc, p);
    for (int r = 1; r <= 200; ++r) {
      std::string row = "L";  // appended: GCC 12 at -O3 warns falsely on "L" + text (-Wrestrict)
      row += std::to_string(p * 1000 + r);
      AddRuler(doc, page->Regles_H, "", row, 0, {0, 3.4f, 0, 410.f + r, 0}, 1)->Page(page);
      AddField(doc, page, p, {"", row + "_Prix", "Prix", row, 0, 1, "Qté*PU", 2, 400.f + r, 450.f + r, 1520, 1900,
                              12.9f, 3.39f, 3.81f, 16.1f, 1, std::to_string(r) + ",25"});
    }
  }
  KillDuringSaves(dir_ / "grand.det.xnf", "[Calage]\r\nType=0\r\n", [&] { doc->SauvegarderMarquageEx(false); });
}

TEST_F(CrashSafetyTest, KilledCatalogueSaveLeavesOldOrNewCatalogue) {
  // 500 rows of 10 cells for one document.
  std::ostringstream image, rows;
  image << "<mn:Image mn:ID=\"mn1\" mn:Name=\"Gros.pdf\" mn:Type=\"DQE\" mn:Orientation=\"0\" mn:H=\"20\">";
  for (int c = 1; c <= 10; ++c) {
    image << "<mn:iCol mn:Name=\"C" << c << "\" mn:Dec=\"2\" mn:X=\"" << c * 100 << "\" mn:W=\"90\"/>";
  }
  for (int p = 1; p <= 10; ++p) image << "<mn:iPage mn:ID=\"" << p << "\"/>";
  for (int r = 1; r <= 500; ++r) {
    const int page = (r - 1) / 50 + 1;
    rows << "<Row><mn:iRow mn:ID=\"mn1\" mn:Name=\"L" << r << "\" mn:Y=\"" << (r % 50) * 40 << "\" mn:Page=\"" << page
         << "\"/>";
    for (int c = 1; c <= 10; ++c) {
      rows << "<Cell><Data ss:Type=\"Number\">" << r * c << "</Data><mn:iCell mn:ID=\"mn1\" mn:Name=\"L" << r << "_C"
           << c << "\" mn:Page=\"" << page << "\"/></Cell>";
    }
    rows << "</Row>";
  }
  const std::string xml = xml_test::Workbook(image.str() + "</mn:Image>", rows.str());
  const fs::path target = dir_ / "Gros.xml";
  WriteBytes(target, xml);
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_TRUE(catalogue->XML_ReadCNF(target.string()));
  std::shared_ptr<Mandor> doc = catalogue->Item("mn1");
  ASSERT_EQ(doc->Champs.Count(), 5000);
  doc->Decimales = 3;
  KillDuringSaves(target, xml, [&] { doc->SauvegarderMarquageXml(doc); });
}

}  // namespace
}  // namespace mandor
