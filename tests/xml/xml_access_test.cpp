// Loading and saving the catalogue workbook file.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mandor/testing/memory_platform.h"
#include "mandor/xml/internal/workbook.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

TEST(WorkbookDocumentTest, EncodingAndLineEndsFollowTheFile) {
  // (Single-byte and mislabelled encodings: the catalogue save-safety test.)
  WorkbookDocument marked;
  // A UTF-8 byte-order mark and CR LF line ends are kept; no declaration is
  // added to a file without one.
  const std::string marked_bytes = "\xEF\xBB\xBF<Workbook>\r\n <Data>\xC3\x89</Data>\r\n</Workbook>\r\n";
  ASSERT_TRUE(marked.LoadFromBytes(marked_bytes));
  EXPECT_EQ(marked.ToBytes(), marked_bytes);
}

TEST(WorkbookDocumentTest, SaveReplacesTheFileOnlyWhenTheWholeFileIsWritten) {
  // (Every other failing step: the fault-injection test.)
  auto platform = std::make_shared<MemoryPlatform>();
  ScopedPlatform scope(platform);
  platform->SetFileBytes("lots/tender.xml", "<Workbook><Old/></Workbook>");
  WorkbookDocument workbook;
  ASSERT_TRUE(workbook.LoadFromBytes("<Workbook><New/></Workbook>"));
  platform->FailOn(MemoryPlatform::Operation::kRename, "tender", kPermissionDenied);
  EXPECT_EQ(ErrorNumberOf([&] { workbook.Save("lots/tender.xml"); }), kPermissionDenied);
  EXPECT_EQ(platform->Paths(), std::vector<std::string>{"lots/tender.xml"});
  EXPECT_EQ(platform->FileBytes("lots/tender.xml"), "<Workbook><Old/></Workbook>");
}

}  // namespace
}  // namespace mandor
