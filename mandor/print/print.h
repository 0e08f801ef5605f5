// Printing a document's values as a PDF, one PDF page per document page,
// each the size of the sheet (sheet.h), in three modes:
//   kOnForm     the values alone, to print on the preprinted paper form;
//   kOverImage  the same values over the scanned page (page_image.h), to
//               print on blank paper or to send as a filled form;
//   kTestSheet  a centimetre grid, crosshairs at the two calibration points,
//               every field's rectangle with its name and the offsets in use:
//               printed on a form, it shows how far off the printer is.
// Each field's value is drawn in its rectangle at the calibrated paper
// position (field_text.h); fonts are embedded as subsets by cairo, and the
// PDF's title is the document's name. docs/print.md describes the mapping.
//
// What is printed comes from PrintOptions: values given for this print by
// field name, else `value_of`, else the model's own value (DisplayValue).
// Fields not printable (Imprimable 0) and zero values of NonImprime0 fields
// are left out.
//
// Usage:
//   mandor::print::PrintOptions options;
//   options.mode = mandor::print::PrintMode::kOverImage;
//   auto report = mandor::print::PrintToPdf(*document, options, "out.pdf");
//   for (const auto& w : report.warnings) std::cerr << w << "\n";
//
// Threading: none; one print at a time per document.
#ifndef MANDOR_PRINT_PRINT_H_
#define MANDOR_PRINT_PRINT_H_

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "mandor/mandor.h"
#include "mandor/print/sheet.h"

namespace mandor::print {

enum class PrintMode { kOnForm, kOverImage, kTestSheet };

// The display text of a field, or nullopt to fall back on the model's value.
using ValueSource = std::function<std::optional<std::string>(const mandor::CChamp&)>;

struct PrintOptions {
  PrintMode mode = PrintMode::kOnForm;
  std::vector<int> pages;         // 1-based positions in Pages; empty: all
  std::optional<Offset> offset;   // replaces the marking's printer offset
  // Raw values for this print only, by field name (without regard to case);
  // formatted like the model's values.
  std::map<std::string, std::string> values;
  ValueSource value_of;           // display texts from elsewhere (computed values)
};

struct PrintReport {
  int pages = 0;                      // pages written
  int fields = 0;                     // values drawn
  std::vector<std::string> warnings;  // what was drawn anyway or left out, once each
};

// Nothing could be produced: no page to print, or the PDF cannot be written.
// Carries the warnings met before the failure.
class PrintFailure : public std::runtime_error {
 public:
  explicit PrintFailure(const std::string& what, std::vector<std::string> warnings = {})
      : std::runtime_error(what), warnings_(std::move(warnings)) {}
  const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  std::vector<std::string> warnings_;
};

// The text printed for a raw value of `field`: a value that reads as a number
// in the platform's locale (after EnlèveSéparateurs) is formatted with the
// field's FormatNombreSortie, unless the field is plain text (Type_Champ 0
// and no decimals); any other value as it stands.
std::string DisplayValue(const mandor::Mandor& document, const std::shared_ptr<mandor::CChamp>& field,
                         const std::string& raw);

// Writes the PDF to `output` (through a temporary file renamed into place).
// Updates the document's derived calibration values (CalculerParamètresCalage)
// for calibration types 1 and 2.
PrintReport PrintToPdf(mandor::Mandor& document, const PrintOptions& options, const std::string& output);

// The same PDF as bytes.
std::string PrintToPdfBytes(mandor::Mandor& document, const PrintOptions& options, PrintReport& report);

// "1,3-5" into {1, 3, 4, 5} (in the order given, repeats dropped). Throws
// std::invalid_argument on anything else (empty items, 0, a reversed range).
std::vector<int> ParsePageList(const std::string& text);

// "X,Y" in cm (a point or a comma as decimal separator: "0.3,-0.2" or
// "0,3;-0,2"); throws std::invalid_argument otherwise.
Offset ParseOffset(const std::string& text);

}  // namespace mandor::print

#endif  // MANDOR_PRINT_PRINT_H_
