// Every save and restore entry point, run once to record the file operations
// it performs, then once per operation with that operation failing. Whatever
// fails, each file of the marking is afterwards either as it was or as the
// complete save leaves it, a failure is reported the way the entry point
// documents it, and a save that reports nothing has written everything.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mandor/testing/memory_platform.h"
#include "mandor/util/error.h"
#include "mandor/xml/image_pdf.h"
#include "tests/textfile/textfile_test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

// A MemoryPlatform that numbers every fallible file operation (copy, delete,
// rename, listing, opening, reading or writing a line or a whole file,
// closing) and makes the one numbered fail_at throw Error 75, before it
// happens, as a disk or a network share would. With deletes_fail every delete
// fails too, so that the clean-up after a failure fails as well.
class FaultPlatform : public MemoryPlatform {
 public:
  FaultPlatform(long fail_at, bool deletes_fail = false)
      : MemoryPlatform(Locale::Comma()), fail_at_(fail_at), deletes_fail_(deletes_fail) {}

  const std::vector<std::string>& log() const { return log_; }

  void Touch(const std::string& operation) {
    log_.push_back(operation);
    if (static_cast<long>(log_.size()) - 1 == fail_at_) ThrowError(kPathFileAccessError, "injected: " + operation);
  }

  void CopyFile(const std::string& from, const std::string& to) override {
    Touch("copy " + from + " " + to), MemoryPlatform::CopyFile(from, to);
  }
  void DeleteFile(const std::string& path) override {
    Touch("delete " + path);
    if (deletes_fail_) ThrowError(kPathFileAccessError, "injected: delete " + path);
    MemoryPlatform::DeleteFile(path);
  }
  void RenameFile(const std::string& from, const std::string& to) override {
    Touch("rename " + from + " " + to), MemoryPlatform::RenameFile(from, to);
  }
  std::vector<FolderEntry> ListFolder(const std::string& f) override {
    return Touch("list " + f), MemoryPlatform::ListFolder(f);
  }
  std::unique_ptr<TextFile> OpenTextFile(const std::string& path, OpenMode mode) override {
    Touch((mode == OpenMode::kInput ? "open-input " : "open-output ") + path);
    return std::make_unique<File>(*this, MemoryPlatform::OpenTextFile(path, mode), path);
  }
  std::string ReadFileBytes(const std::string& p) override {
    return Touch("read-bytes " + p), MemoryPlatform::ReadFileBytes(p);
  }
  void WriteFileBytes(const std::string& p, std::string_view b) override {
    Touch("write-bytes " + p), MemoryPlatform::WriteFileBytes(p, b);
  }
  std::string CreateTemporaryFile(const std::string& target) override {
    return Touch("create-temporary " + target), MemoryPlatform::CreateTemporaryFile(target);
  }
  void CommitFile(const std::string& t, const std::string& target) override {
    Touch("flush " + t), MemoryPlatform::CommitFile(t, target);
  }

 private:
  class File : public TextFile {
   public:
    File(FaultPlatform& owner, std::unique_ptr<TextFile> inner, std::string path)
        : owner_(owner), inner_(std::move(inner)), path_(std::move(path)) {}
    std::string ReadLine() override { return owner_.Touch("read-line " + path_), inner_->ReadLine(); }
    bool AtEnd() const override { return inner_->AtEnd(); }
    void WriteLine(std::string_view text) override { owner_.Touch("write-line " + path_), inner_->WriteLine(text); }
    void Rewind() override { inner_->Rewind(); }
    void Close() override {
      if (!closed_) owner_.Touch("close " + path_);
      closed_ = true;
      inner_->Close();
    }

   private:
    FaultPlatform& owner_;
    std::unique_ptr<TextFile> inner_;
    std::string path_;
    bool closed_ = false;
  };

  long fail_at_;
  bool deletes_fail_;
  std::vector<std::string> log_;
};

// What an entry point left: whether it reported a failure (a false or 0
// result, a message, or an exception) and, for a restore, the model it built.
struct Outcome {
  bool failed = false;
  std::string model;
};

struct Scenario {
  const char* name;
  std::vector<std::string> files;             // the files a failure must leave whole
  std::vector<std::string> messages;          // the beginnings of the messages it may show
  std::function<void(MemoryPlatform&)> prepare;  // the files as they are before the call
  std::function<Outcome(MemoryPlatform&)> run;
};

const std::string kXnf = "marchés/BPU Lot 1.bpx.xnf";
const std::string kXak = "marchés/BPU Lot 1.bpx.xak";
const std::string kCnf = "marchés/BPU Lot 1.bpx.cnf";
const std::string kCatalogue = "lot/tender.xml";
const std::string kCannotCreate = "Impossible de céer le fichier ";
const std::string kSaveFailed = "Une erreur est survenue au cours de l'enregistrement : ";

// The bytes a complete save of the price schedule writes in each layout.
std::string SavedPriceSchedule(bool extended) {
  auto platform = std::make_shared<MemoryPlatform>(Locale::Comma());
  ScopedPlatform scope(platform);
  auto doc = textfile_test::BuildPriceSchedule();
  extended ? doc->SauvegarderMarquageEx(false) : doc->SauvegarderMarquageStd();
  return platform->FileBytes(extended ? kXnf : kCnf).value_or("");
}

bool Reported(const MemoryPlatform& platform) { return !platform.messages().empty(); }

// Saves the price schedule in either layout (Ex gives 0, Std -1 when saved).
Outcome SaveSchedule(MemoryPlatform& p, bool extended) {
  auto doc = textfile_test::BuildPriceSchedule();
  const bool saved = extended ? doc->SauvegarderMarquageEx(false) == 0 : doc->SauvegarderMarquageStd() == -1;
  return {!saved || Reported(p), ""};
}

// Reads the catalogue, then saves through `save` (false when it failed).
Outcome ReadThenSave(MemoryPlatform& p, const std::function<bool(cMarquage&)>& save) {
  auto catalogue = std::make_shared<cMarquage>();
  return {!catalogue->XML_ReadCNF(kCatalogue) || !save(*catalogue) || Reported(p), ""};
}

// Restores the price schedule from whichever layout is on disk.
Outcome RestoreText(MemoryPlatform& p) {
  auto doc = std::make_shared<Mandor>();
  doc->Répertoire_Document = "marchés/";
  doc->Nom_Document("BPU Lot 1.bpx");
  return {!doc->RestaurerMarquage() || Reported(p), xml_test::Describe(*doc)};
}

std::vector<Scenario> Scenarios() {
  const std::string old_marking = "[Calage]\r\nType=0\r\n";  // a previous marking, different from the new one
  const auto tender = [](MemoryPlatform& p) { p.SetFileBytes(kCatalogue, xml_test::DataFile("tender.xml")); };
  const std::vector<std::string> xml_messages = {kSaveFailed, "Impossible d'ouvrir le fichier XML"};
  return {
      {"SauvegarderMarquageEx", {kXnf, kXak}, {kCannotCreate},
       [=](MemoryPlatform& p) { p.SetFileBytes(kXnf, old_marking); },
       [](MemoryPlatform& p) { return SaveSchedule(p, true); }},
      {"SauvegarderMarquageStd", {kCnf}, {}, [=](MemoryPlatform& p) { p.SetFileBytes(kCnf, old_marking); },
       [](MemoryPlatform& p) { return SaveSchedule(p, false); }},
      {"SauvegarderMarquageXml", {kCatalogue}, xml_messages, tender,
       [](MemoryPlatform& p) {
         return ReadThenSave(p, [](cMarquage& catalogue) {
           std::shared_ptr<Mandor> doc = catalogue.Item(1);
           doc->Decimales = 3;
           doc->Champs.Item(1)->valeur("4321");
           return doc->SauvegarderMarquageXml(doc);
         });
       }},
      {"XML_AddNewAE", {kCatalogue}, xml_messages, tender,
       [](MemoryPlatform& p) {
         return ReadThenSave(p, [](cMarquage& catalogue) {
           auto act = std::make_shared<Mandor>();
           act->Orientation = 1;
           FixedImagePdf pdf("AE Lot.pdf", {{1653, 2339, 200, 200}});
           return catalogue.XML_AddNewAE(act, pdf) != nullptr;
         });
       }},
      {"RestaurerMarquage .xnf", {kXnf}, {"ERREUR dans RestaurerMarquageEx: "},
       [](MemoryPlatform& p) { p.SetFileBytes(kXnf, SavedPriceSchedule(true)); }, RestoreText},
      {"RestaurerMarquage .cnf", {kCnf}, {"ERREUR dans RestaurerMarquageStd: "},
       [](MemoryPlatform& p) { p.SetFileBytes(kCnf, SavedPriceSchedule(false)); }, RestoreText},
      {"XML_ReadCNF", {kCatalogue}, {}, tender,
       [](MemoryPlatform& p) {
         auto catalogue = std::make_shared<cMarquage>();
         const bool read = catalogue->XML_ReadCNF(kCatalogue) != nullptr;
         return Outcome{!read || Reported(p), xml_test::Describe(*catalogue)};
       }},
  };
}

TEST(FaultInjectionTest, EveryFileOperationOfEverySaveAndRestoreFailsInTurn) {
  for (const Scenario& scenario : Scenarios()) {
    SCOPED_TRACE(scenario.name);
    std::shared_ptr<FaultPlatform> memory;
    const auto attempt = [&](long fail_at, bool deletes_fail) {
      memory = std::make_shared<FaultPlatform>(fail_at, deletes_fail);
      scenario.prepare(*memory);
      ScopedPlatform scope(memory);
      try {
        return scenario.run(*memory);
      } catch (const Error&) {  // a reported failure
        return Outcome{true, ""};
      }
    };
    const auto files = [&] {
      std::vector<std::string> bytes;
      for (const auto& file : scenario.files) bytes.push_back(memory->FileBytes(file).value_or("<missing>"));
      return bytes;
    };
    // The run without failure: the files before and after, the operations.
    memory = std::make_shared<FaultPlatform>(-1);
    scenario.prepare(*memory);
    const std::vector<std::string> before = files();
    const Outcome clean = attempt(-1, false);
    ASSERT_FALSE(clean.failed) << (memory->messages().empty() ? "" : memory->messages()[0].text);
    const std::vector<std::string> after = files(), operations = memory->log();
    ASSERT_FALSE(operations.empty());

    for (size_t run = 0; run < 2 * operations.size(); ++run) {
      const size_t k = run % operations.size();
      const bool deletes_fail = run >= operations.size();
      SCOPED_TRACE("failing " + operations[k] + (deletes_fail ? " and every delete" : ""));
      const Outcome outcome = attempt(static_cast<long>(k), deletes_fail);
      const bool writes = before != after;
      for (size_t f = 0; f < scenario.files.size(); ++f) {
        const std::string now = memory->FileBytes(scenario.files[f]).value_or("<missing>");
        EXPECT_TRUE(now == before[f] || now == after[f]) << scenario.files[f] << " is neither old nor new";
        // A marking left unsaved is a reported failure; an unreported one is complete.
        if (writes && f == 0) {
          EXPECT_EQ(outcome.failed, now != after[f]) << scenario.files[f];
        }
      }
      if (!outcome.failed) {
        EXPECT_EQ(outcome.model, clean.model);
      }
      for (const auto& message : memory->messages()) {
        const auto starts = [&](const std::string& start) { return message.text.starts_with(start); };
        EXPECT_TRUE(std::ranges::any_of(scenario.messages, starts)) << "unexpected message: " << message.text;
      }
      // No temporary file stays behind, unless deleting it failed.
      for (const auto& path : memory->Paths()) EXPECT_TRUE(deletes_fail || !path.ends_with(".tmp")) << path;
      EXPECT_EQ(memory->OpenFileCount(), 0u);
    }
  }
}

}  // namespace
}  // namespace mandor
