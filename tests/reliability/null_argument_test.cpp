// Every public member that takes an object, called with a null object (a
// host passing Nothing): each raises Error 91 (or the error its interface
// documents, or ignores the null as documented), and the objects stay usable.
// Then objects of another document and fonts given as their own parents.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mandor/model/devises.h"
#include "mandor/model/doc.h"
#include "mandor/xml/image_pdf.h"
#include "tests/test_util.h"
#include "tests/textfile/textfile_test_util.h"
#include "tests/xml/xml_test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

class NullArgumentTest : public test_util::MemoryPlatformTest {};

TEST_F(NullArgumentTest, EveryMemberTakingAnObjectRaisesObjectNotSetOnNull) {
  auto doc = textfile_test::BuildPriceSchedule();
  auto page = doc->Pages.Item(1L);
  auto regle = doc->Regles_V.Item(1L);
  auto champ = doc->Champs.Item("L1_Qté");
  const std::shared_ptr<CChamp> no_field;
  const std::shared_ptr<CFont> no_font;

  struct Call {
    const char* name;
    std::function<void()> call;
    int error = kObjectNotSet;
  };
  Mandor plain;  // not shared: the extract procedures need a document they can hand to their objects
  StringArray lines = {"", "Nombre_règles_h=0"};
  int16_t page_number = 1;
  const std::vector<Call> calls = {
      {"CRegle::SetPropertiesFromFontClass", [&] { regle->SetPropertiesFromFontClass(no_font); }},
      {"CRegle::Font", [&] { regle->Font(no_font); }},
      {"CChamp::SetFontPropertiesFromFontClass", [&] { champ->SetFontPropertiesFromFontClass(no_font); }},
      {"Mandor::InsérerChamp", [&] { doc->InsérerChamp(page->Champs, no_field); }},
      {"Mandor::FormatNombre", [&] { doc->FormatNombre(no_field); }},
      {"Mandor::FormatNombreSortie", [&] { doc->FormatNombreSortie(no_field); }},
      {"Pages.Add", [&] { doc->Pages.Add(nullptr, "p"); }}, {"Champs.Add", [&] { doc->Champs.Add(nullptr); }},
      {"ChampsCachés.Add", [&] { doc->ChampsCachés.Add(nullptr); }},
      {"ChampsFormules.Add", [&] { doc->ChampsFormules.Add(nullptr); }},
      {"ChampsRecurrents.Add", [&] { doc->ChampsRecurrents.Add(nullptr); }},
      {"champsContenantReference.Add", [&] { doc->champsContenantReference.Add(nullptr); }},
      {"champsDataContrat.Add", [&] { doc->champsDataContrat.Add(nullptr); }},
      {"Docs.Add", [&] { doc->Docs.Add(nullptr); }}, {"Regles_V.Add", [&] { doc->Regles_V.Add(nullptr, "x"); }},
      {"Regles_H.Add", [&] { doc->Regles_H.Add(nullptr); }},
      {"Champs.AddBefore", [&] { page->Champs.AddBefore(nullptr, "", 1L); }},
      {"Regles_H.AddAfter", [&] { page->Regles_H.AddAfter(nullptr, "", 1L); }},
      {"Devises::Add", [&] { Devises().Add(nullptr); }, kInvalidArgument},
      {"Mandor::ExtractPage", [&] { plain.ExtractPage(lines, page_number); }, kInvalidArgument},
  };
  const std::string before = test_util::Describe(*doc);
  for (const Call& c : calls) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ErrorNumberOf(c.call), c.error);
  }
  // Nothing changed, and every font getter still answers.
  EXPECT_EQ(test_util::Describe(*doc), before);
  EXPECT_EQ(regle->FontName(), regle->GetFontClassFromProperties()->Name());
  EXPECT_GT(regle->FontSize(), 0);
  EXPECT_EQ(doc->FormatNombre(champ), "#,##0.00");

  // Setters documented to take Nothing: the object then answers from its
  // parents or raises Error 91 where it needs the object.
  doc->Font(nullptr);
  EXPECT_FALSE(doc->FonteName().empty()) << "a document always has a font";
  champ->Font(nullptr);
  EXPECT_EQ(ErrorNumberOf([&] { champ->FontName(); }), kObjectNotSet);
  champ->oRegleH(nullptr);
  champ->oRegleV(nullptr);
  champ->HangOn(nullptr, nullptr);
  EXPECT_GE(champ->Position_point_Left(), 0.0f);
  regle->Page(nullptr);
  EXPECT_EQ(regle->Page(), nullptr);
  CFont font;
  font.SetMe(nullptr);
  EXPECT_FALSE(font.HasSet());
}

TEST_F(NullArgumentTest, SavesAndTheEngagementActRefuseNothing) {
  platform_->SetFileBytes("lot/tender.xml", xml_test::DataFile("tender.xml"));
  auto catalogue = std::make_shared<cMarquage>();
  ASSERT_NE(catalogue->XML_ReadCNF("lot/tender.xml"), nullptr);
  const std::string before = platform_->FileBytes("lot/tender.xml").value();

  std::shared_ptr<Mandor> nothing;
  auto doc = catalogue->Item(1L);
  EXPECT_FALSE(doc->SauvegarderMarquageXml(nothing));
  ASSERT_EQ(platform_->messages().size(), 1u);
  FixedImagePdf pdf("AE.pdf", {{1653, 2339, 200, 200}});
  EXPECT_EQ(ErrorNumberOf([&] { catalogue->XML_AddNewAE(nothing, pdf); }), kObjectNotSet);
  // A document without catalogue cannot be saved into one.
  auto loose = std::make_shared<Mandor>();
  EXPECT_FALSE(loose->SauvegarderMarquageXml(loose));
  EXPECT_EQ(platform_->FileBytes("lot/tender.xml").value(), before);
  EXPECT_EQ(catalogue->Count(), 3);
}

TEST_F(NullArgumentTest, ObjectsOfAnotherDocumentAndSelfParentedFontsDoNotCrash) {
  auto a = textfile_test::BuildPriceSchedule();
  auto b = textfile_test::BuildPriceSchedule();
  b->Nom_Document("Autre.bpx");
  // A field of b inserted into a's page and hung on a's rulers, a ruler of a
  // given b's font: each document still saves and reads back.
  auto foreign = b->Champs.Item("L1_Qté");
  auto page = a->Pages.Item(1L);
  page->Champs.Remove("L1_Qté");
  a->Champs.Remove("L1_Qté");
  a->InsérerChamp(page->Champs, foreign);
  a->Champs.Add(foreign, foreign->Nom());
  foreign->HangOn(a->Regles_V.Item(1L), page->Regles_H.Item(1L));
  a->Regles_V.Item(2L)->SetPropertiesFromFontClass(b->Font());
  EXPECT_EQ(a->SauvegarderMarquageEx(false), 0);
  EXPECT_EQ(b->SauvegarderMarquageEx(false), 0);
  EXPECT_TRUE(platform_->messages().empty());

  // A document's own font given to one of its rulers, a ruler's font given to
  // its field: no font becomes its own parent (which would never be freed
  // and would loop), and the getters answer.
  auto regle = a->Regles_V.Item(1L);
  regle->SetPropertiesFromFontClass(a->Font());
  EXPECT_NE(a->Font()->ParentFont1, a->Font());
  EXPECT_EQ(regle->FontName(), a->FonteName());
  auto champ = a->Champs.Item("L1_PU");
  champ->oRegleH(nullptr);
  champ->oRegleV(regle);
  champ->SetFontPropertiesFromFontClass(regle->GetFontClassFromProperties());
  EXPECT_NE(regle->GetFontClassFromProperties()->ParentFont1, regle->GetFontClassFromProperties());
  EXPECT_EQ(champ->FontName(), a->FonteName());
}

}  // namespace
}  // namespace mandor
