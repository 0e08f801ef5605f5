// The catalogue: the folder scan and adding documents from text markings.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor {
namespace {

class MarquageTest : public test_util::MemoryPlatformTest {
 protected:
  std::shared_ptr<cMarquage> catalogue_ = std::make_shared<cMarquage>();
};

TEST_F(MarquageTest, FolderScanListsTextMarkings) {
  for (const char* path : {"lots/A.CNF", "lots/B.xnf", "lots/C.xml", "lots/D", "lots/sub/E.cnf", "lots/F.old.Xnf"}) {
    platform_->SetFileBytes(path, "");
  }
  catalogue_->FullPath("lots/catalogue.xml");
  EXPECT_EQ(catalogue_->FolderFiles(), (std::vector<std::string>{"lots/A.CNF", "lots/B.xnf", "lots/F.old.Xnf"}));
  // A folder that cannot be listed gives an empty list, not an error.
  catalogue_->FullPath("missing/catalogue.xml");
  EXPECT_TRUE(catalogue_->FolderFiles().empty());
}

TEST_F(MarquageTest, AddRestoresTextMarkings) {
  platform_->SetFileBytes("marquages/bordereau.bpx.xnf", textfile_test::DataFile("bordereau.bpx.xnf"));
  const auto restored = catalogue_->Add("k1", "bordereau.bpx", "marquages/");
  EXPECT_TRUE(restored->numero_page == 1 && restored->Champs.Count() > 0);
  // A marking that cannot be restored stays in the catalogue, marked -1.
  const auto missing = catalogue_->Add("", "absent.bpx", "marquages/");
  EXPECT_EQ(missing->numero_page, -1);
  EXPECT_EQ(catalogue_->Count() == 2 ? catalogue_->Item(2) : nullptr, missing);
  // Documents the host still holds outlive the catalogue, without it.
  catalogue_.reset();
  EXPECT_EQ(missing->oOwnerMarquage(), nullptr);
}

}  // namespace
}  // namespace mandor
