// Creating the engagement act of a catalogue: the act gets an image ID and a
// place in the catalogue (replacing the former act, if any), its pages come
// from the host's image of the act, and a new mn:Image describing it is
// written into the catalogue file. Its fields, rulers and fonts are written
// later by the document's own save.

#include <memory>
#include <string>
#include <unordered_set>

#include <pugixml.hpp>

#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/page.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"
#include "mandor/xml/image_pdf.h"
#include "mandor/xml/internal/workbook.h"
#include "mandor/xml/internal/xml_access.h"

namespace mandor {

std::shared_ptr<Mandor> cMarquage::XML_AddNewAE(std::shared_ptr<Mandor>& oTmpAeMandor, ImagePdf& iPdf) {
  WorkbookDocument workbook;
  if (!workbook.Load(state_.full_path)) {
    CurrentPlatform().Message("Impossible d'ouvrir le fichier XML [" + state_.full_path + "] !", kDefaultMessageTitle,
                              MessageStyle::kCritical);
    return nullptr;
  }
  if (!oTmpAeMandor) ThrowError(kObjectNotSet, "Object variable not set (no engagement act)");
  const pugi::xml_node xml = workbook.document();
  std::shared_ptr<Mandor> act = oTmpAeMandor;

  // The former act, if any, gives its number to the new one and goes, both
  // from the file and from the catalogue.
  std::shared_ptr<Mandor> former;
  for (const auto& document : state_.documents) {
    if (document->Type_Document == document->DOCUMENT_AE()) {
      former = document;
      break;
    }
  }
  long n = 1;
  if (former) {
    n = ToInt32(ToDouble(ReplaceAll(former->Id, "mn", ""), CurrentPlatform().locale()));
    for (const pugi::xml_node& image : XmlSelectNodes(xml, "//mn:Image")) {
      if (std::string(image.attribute("mn:ID").value()) == former->Id) {
        image.parent().remove_child(image);
        break;
      }
    }
    state_.documents.Remove(former->Id);
  }

  // The first number from n that no image of the file uses. A key the
  // catalogue already holds is skipped too, so that adding the act cannot
  // fail once the former act is gone.
  std::unordered_set<std::string> used;
  for (const pugi::xml_node& image : XmlSelectNodes(xml, "//mn:Image")) used.insert(image.attribute("mn:ID").value());
  while (used.count("mn" + std::to_string(n)) != 0 || state_.documents.Contains("mn" + std::to_string(n))) ++n;

  act->Id = "mn" + std::to_string(n);
  state_.documents.Add(act, act->Id);
  act->oOwnerMarquage(shared_from_this());
  // The act is the catalogue's engagement act from now on, as its mn:Type
  // says, so that the next act replaces it.
  act->Type_Document = act->DOCUMENT_AE();
  // An act without currency takes index 0, which gives it the table's first
  // currency in memory; the file records the currency as the host gave it
  // (empty), which reads back as that same default.
  const std::string devise = act->Devise();
  if (devise.empty()) act->iDevise(0);

  const pugi::xml_node image = XmlCreateElement(XmlSelectNode(xml, "//mn:MANDOR"), "mn:Image");
  XmlSetAttribute(image, "mn:ID", act->Id);
  XmlSetAttribute(image, "mn:Name", iPdf.File());
  XmlSetAttribute(image, "mn:Count", "0");
  XmlSetAttribute(image, "mn:Type", "AE");
  XmlSetAttribute(image, "mn:Orientation", std::to_string(act->Orientation));
  XmlSetAttribute(image, "mn:H", SingleToText(act->HauteurChamp, Locale::Point()));
  XmlSetAttribute(image, "mn:Devise", devise);

  act->Pages = Collection<CPage>();
  const int16_t page_count = ToInt16(iPdf.PageCount());
  for (int32_t number = 1; number <= page_count; ++number) {
    const auto p = static_cast<int16_t>(number);
    iPdf.SelectPage(p);
    auto page = std::make_shared<CPage>();
    act->Pages.Add(page, "page_" + std::to_string(p));
    page->oOwnerMandor = act;
    page->Id = std::to_string(p);
    const double width = iPdf.Width();
    const double height = iPdf.Height();
    const int32_t h_resol = iPdf.HResol();
    const int32_t v_resol = iPdf.VResol();
    page->Width = ToSingle(width);
    page->Height = ToSingle(height);
    page->hResolution(ToInt16(h_resol));
    page->vResolution(ToInt16(v_resol));

    const pugi::xml_node ipage = XmlCreateElement(image, "mn:iPage");
    XmlSetAttribute(ipage, "mn:ID", std::to_string(p));
    XmlSetAttribute(ipage, "mn:Width", XmlNumberText(width));
    XmlSetAttribute(ipage, "mn:Height", XmlNumberText(height));
    XmlSetAttribute(ipage, "mn:XRes", std::to_string(h_resol));
    XmlSetAttribute(ipage, "mn:YRes", std::to_string(v_resol));
  }
  act->numero_page = 1;

  workbook.Save(state_.full_path);
  return act;
}

}  // namespace mandor
