#include "mandor/print/page_fields.h"

#include <set>
#include <string>

#include "mandor/util/internal/text.h"

namespace mandor::print {

std::vector<PageField> FieldsOfPage(const mandor::Mandor& document, const mandor::CPage& page) {
  using mandor::CChamp;
  std::vector<PageField> fields;
  // Names of the fields some page holds, and of the masters they copy: a
  // recurrent field with a copy on the pages is drawn through its copies.
  std::set<std::string> on_pages;
  std::set<const CChamp*> on_this_page;
  for (const std::shared_ptr<mandor::CPage>& other : document.Pages) {
    if (!other) continue;
    for (const std::shared_ptr<CChamp>& field : other->Champs) {
      if (!field) continue;
      on_pages.insert(mandor::FoldCase(field->Nom()));
      if (!field->ChampRecurrentDeRef().empty()) on_pages.insert(mandor::FoldCase(field->ChampRecurrentDeRef()));
    }
  }
  for (const std::shared_ptr<CChamp>& field : page.Champs) {
    if (field && on_this_page.insert(field.get()).second) fields.push_back({field, false});
  }
  auto add_repeating = [&](const mandor::Collection<CChamp>& collection) {
    for (const std::shared_ptr<CChamp>& field : collection) {
      if (!field || on_this_page.count(field.get()) != 0) continue;
      const bool recurrent = field->Recurrent() || document.ChampsRecurrents.Contains(field->Nom());
      if (!recurrent || on_pages.count(mandor::FoldCase(field->Nom())) != 0) continue;
      on_this_page.insert(field.get());
      fields.push_back({field, true});
    }
  };
  add_repeating(document.ChampsRecurrents);
  add_repeating(document.Champs);
  return fields;
}

}  // namespace mandor::print
