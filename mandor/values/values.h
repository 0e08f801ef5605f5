// ValueBook holds what the fields of a marking hold: it reads each field's
// value (the worksheet cell of a catalogue field, "mn:Value" of a
// data-contract field, the valeur of a text-marking field), sets values,
// computes the formulas (formula.h, docs/formulas.md) and writes everything
// back through the catalogue's own save (WorkbookDocument::Save, a temporary
// file renamed over the catalogue) or the text marking's writer.
//
// The book works beside the model: the documents come from the ordinary
// readers (cMarquage::XML_ReadCNF, Mandor::RestaurerMarquage) and are not
// changed, except the valeur of the quantity fields of a text marking.
//
// Thread-safety: none; one thread at a time, like the model.
#ifndef MANDOR_VALUES_VALUES_H_
#define MANDOR_VALUES_VALUES_H_

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "mandor/mandor.h"
#include "mandor/values/formula.h"

namespace mandor::values {

// Bad input: every problem found, one a line; nothing was changed.
class ValuesError : public std::runtime_error {
 public:
  explicit ValuesError(std::vector<std::string> problems);
  const std::vector<std::string>& problems() const { return problems_; }

 private:
  std::vector<std::string> problems_;
};

// Where a field's value lives.
enum class Place {
  kCell,          // a cell of the marking worksheet
  kPageCell,      // a page-level cell under mn:iPage
  kDataContract,  // "mn:Value" of the field's mn:iCell under mn:DataContrat
  kValeur,        // a text marking's valeur: its quantities (names holding "Qté")
  kNone,          // no place (recurrent fields of a catalogue, a text marking's other fields)
};

struct FieldValue {
  std::shared_ptr<Mandor> document;
  std::shared_ptr<CChamp> field;
  Place place = Place::kNone;
  std::string text;              // as the user sees it in the locale
  std::optional<double> number;  // numeric reading of text
  bool number_cell = false;      // a worksheet cell of type "Number"
  // The decimals the field's numbers have: its Décimales, or the document's
  // Decimales for a catalogue cell of no column whose Décimales is 0 (page
  // totals such as TA1).
  int decimals = 0;
};

struct Assignment {
  std::string name;
  std::string value;
  std::string origin;  // where it came from, for messages ("line 4"); may be empty
};

struct ComputedField {
  std::shared_ptr<Mandor> document;
  std::shared_ptr<CChamp> field;
  FormulaResult result;
};

// Which of the document's number pictures a shown number takes: the
// screen's (FormatNombre, grouped: "1 986,60") or the printed form's
// (FormatNombreSortie, ungrouped: "1986,60").
enum class Picture { kScreen, kPrint };

// The text a field shows: a number formatted with the document's picture
// for value.decimals, any other text as it is. For render and print:
//   auto book = ValueBook::ForCatalogue(catalogue);   // once per marking
//   DisplayText(*document, field, book->ValueOf(document, field), locale);
std::string DisplayText(const Mandor& document, const std::shared_ptr<CChamp>& field, const FieldValue& value,
                        const Locale& locale, Picture picture = Picture::kScreen);

// Every distinct field of a document, each once: its Champs, then the fields
// of its pages (where a text marking keeps them), its recurrent and
// data-contract fields.
std::vector<std::shared_ptr<CChamp>> AllFields(const Mandor& document);

class ValueBook {
 public:
  // A catalogue read with XML_ReadCNF: its workbook file is loaded again,
  // whole, to read and write the cells. Throws ValuesError when the file
  // cannot be loaded.
  static std::unique_ptr<ValueBook> ForCatalogue(std::shared_ptr<cMarquage> catalogue);
  // A restored text marking; stores_quantities is true for the extended
  // layout (".xnf"), whose fields keep quantities, false for the standard
  // layout (".cnf"), which keeps no value at all.
  static std::unique_ptr<ValueBook> ForTextMarking(std::shared_ptr<Mandor> document, bool stores_quantities);
  ~ValueBook();

  const std::vector<std::shared_ptr<Mandor>>& Documents() const { return documents_; }
  bool IsCatalogue() const { return catalogue_ != nullptr; }

  // The values of a document's fields, in the order of AllFields.
  std::vector<FieldValue> Values(const std::shared_ptr<Mandor>& document) const;
  // The value of one field of a document.
  FieldValue ValueOf(const std::shared_ptr<Mandor>& document, const std::shared_ptr<CChamp>& field) const;

  // Sets values in the documents whose Id is doc_id (all when empty). Every
  // assignment is checked first (known name, a place for the value, a value
  // the place can hold, not a computed field); on any problem a ValuesError
  // lists them all and nothing changes. Then the formulas are recomputed and
  // their results written too (and returned, as Compute returns them).
  // Nothing reaches the file before Save; a caller that must not write a
  // marking whose formulas are malformed checks FormulaResult::malformed
  // before saving (as `mandor set` and `fill` do).
  std::vector<ComputedField> Set(const std::vector<Assignment>& assignments, const std::string& doc_id = "");

  // Computes the formulas of every document and stores the results in their
  // places (an error leaves its field empty). Returns what was computed.
  std::vector<ComputedField> Compute();

  // Writes the book: the catalogue workbook through WorkbookDocument::Save,
  // a text marking through SauvegarderMarquageEx with the quantities.
  // Throws mandor::Error when the catalogue cannot be written (the file is
  // then unchanged); false when the text marking's writer failed.
  bool Save();

  // Stores values taken from another book of the same catalogue (matched by
  // document and field) into their cells again, as they were: the catalogue's
  // writer rebuilds the page-level cells (TA1, TD2, ...) from the model,
  // which holds no values, so code that saves documents with
  // SauvegarderMarquageXml takes their values first and puts them back with
  // this and Save. Values of fields this book has no cell for are skipped.
  void Restore(const std::vector<FieldValue>& values);

  // Sets the valeur of every field of the document to the text it shows
  // (DisplayText), for code that draws the model's values (render); the
  // fields without a value keep theirs. The marking is not written.
  void ShowInModel(const std::shared_ptr<Mandor>& document, const Locale& locale) const;

  // Up to `count` known field names nearest to name (by edit distance,
  // ignoring case), for "did you mean" messages.
  std::vector<std::string> NearestNames(const std::string& name, const std::string& doc_id, size_t count = 3) const;

 private:
  struct Slot;
  struct Index;
  ValueBook();
  const Slot* SlotOf(const Mandor& document, const CChamp& field) const;
  void Store(const std::shared_ptr<Mandor>& document, const std::shared_ptr<CChamp>& field, const std::string& text,
             std::optional<double> number);

  std::shared_ptr<cMarquage> catalogue_;
  std::vector<std::shared_ptr<Mandor>> documents_;
  std::unique_ptr<Index> index_;
};

}  // namespace mandor::values

#endif  // MANDOR_VALUES_VALUES_H_
