// The catalogue: the folder scan, adding documents from text markings and
// from mn:Image elements.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <pugixml.hpp>

#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/testing/memory_platform.h"
#include "tests/test_util.h"
#include "tests/textfile/textfile_test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

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
  EXPECT_EQ(std::tie(restored->numero_page, restored->Id), std::make_tuple(1, "k1"));
  EXPECT_GT(restored->Champs.Count(), 0);

  // A marking that cannot be restored stays in the catalogue, marked -1;
  // without a key it is reached by position only.
  const auto missing = catalogue_->Add("", "absent.bpx", "marquages/");
  EXPECT_EQ(missing->numero_page, -1);
  EXPECT_EQ(catalogue_->Count() == 2 ? catalogue_->Item(2) : nullptr, missing);
}

TEST_F(MarquageTest, AddItemWithNodeReadsTheImageElementAndClearEmpties) {
  pugi::xml_document doc;
  // Images of types PC, dqe, none, a name too short, mn1 again.
  ASSERT_TRUE(doc.load_string(xml_test::DataFile("images.xml").c_str()));
  std::vector<pugi::xml_node> images(doc.first_child().begin(), doc.first_child().end());

  const auto ae = catalogue_->AddItemWithNode(images[0], "C:\\Lots");
  EXPECT_EQ(std::tie(ae->Id, ae->Type_Document, ae->Répertoire_Document), std::make_tuple("mn1", "AE", "C:\\Lots\\"));
  EXPECT_EQ(ae->Font()->ParentFont1, catalogue_->Font);
  EXPECT_EQ(catalogue_->AddItemWithNode(images[1])->Répertoire_Document, "\\");
  EXPECT_EQ(catalogue_->AddItemWithNode(images[2], "lots/")->Répertoire_Document, "lots/");

  EXPECT_EQ(ErrorNumberOf([&] { catalogue_->AddItemWithNode(images[3]); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { catalogue_->AddItemWithNode(images[4]); }), kDuplicateKey);

  // Documents the host still holds outlive the catalogue, without it.
  catalogue_.reset();
  EXPECT_EQ(ae->oOwnerMarquage(), nullptr);
}

}  // namespace
}  // namespace mandor
