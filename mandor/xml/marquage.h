// cMarquage is the catalogue: the documents (Mandor) that belong together,
// for example the detail estimate, the price schedule and the engagement act
// of one tender, with what they share: the currency table and the default
// font every document font inherits from.
#ifndef MANDOR_XML_MARQUAGE_H_
#define MANDOR_XML_MARQUAGE_H_

#include <memory>

#include "mandor/fields/font.h"
#include "mandor/model/devises.h"

namespace mandor {

class cMarquage : public std::enable_shared_from_this<cMarquage> {
 public:
  std::shared_ptr<Devises> oDevises;  // created on first need
  std::shared_ptr<CFont> Font;        // parent of every document's font
};

}  // namespace mandor

#endif  // MANDOR_XML_MARQUAGE_H_
