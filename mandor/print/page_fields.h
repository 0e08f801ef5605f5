// The fields that stand on one page of a document: the page's own fields,
// then the recurrent fields that no page holds a copy of (they repeat on
// every page). Shared by the printed pages and the `mandor render` picture.
//
// Threading: reads the model only; no state of its own.
#ifndef MANDOR_PRINT_PAGE_FIELDS_H_
#define MANDOR_PRINT_PAGE_FIELDS_H_

#include <memory>
#include <vector>

#include "mandor/mandor.h"

namespace mandor::print {

struct PageField {
  std::shared_ptr<mandor::CChamp> field;
  bool repeating = false;  // a recurrent field drawn on every page
};

// In drawing order: the page's Champs, then the repeating fields in the
// order of ChampsRecurrents and Champs. Null entries are skipped and no
// field comes twice.
std::vector<PageField> FieldsOfPage(const mandor::Mandor& document, const mandor::CPage& page);

}  // namespace mandor::print

#endif  // MANDOR_PRINT_PAGE_FIELDS_H_
