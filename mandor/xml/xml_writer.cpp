// Writing one document back into its catalogue workbook: the document's
// mn:Image (attributes, font, columns, page-level cells, recurrent fields,
// data contract) and its part of the marking worksheet (rows of its
// horizontal rulers, one mn:iRow and one mn:iCell per ruler and field).
// Everything that belongs to other documents, and everything the model does
// not own, is left as it is.
//
// Each step indexes the nodes it looks for in one walk before its loop, so
// that a save costs a few passes over the workbook whatever the number of
// fields and rows.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <pugixml.hpp>

#include "mandor/fields/champ.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"
#include "mandor/xml/internal/workbook.h"
#include "mandor/xml/internal/xml_access.h"

namespace mandor {

namespace {

// Page-level fields: a "T", then "A", "B" or "D", then digits only.
bool IsPageLevelName(std::string_view name) {
  if (name.size() < 2 || name[0] != 'T' || (name[1] != 'A' && name[1] != 'B' && name[1] != 'D')) return false;
  return std::all_of(name.begin() + 2, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The document's mn:Image under Workbook/mn:MANDOR; null when absent.
pugi::xml_node FindImage(const pugi::xml_node& xml, const std::string& id) {
  for (const pugi::xml_node& image : XmlSelectNodes(xml, "Workbook/mn:MANDOR/mn:Image")) {
    if (XmlPeekAttribute(image, "mn:ID") == id) return image;
  }
  return {};
}

// The worksheet that holds the markings: the first one named after the
// catalogue ("mn:Name" of mn:MANDOR) that has a table, which is the one the
// reader reads. None when no worksheet bears that name (renamed in a
// spreadsheet program): the read saw no rows then, and the save must not
// touch rows it did not see in another worksheet.
pugi::xml_node MarkingWorksheet(const pugi::xml_node& xml) {
  const std::string name = XmlPeekAttribute(XmlSelectNode(xml, "Workbook/mn:MANDOR"), "mn:Name");
  for (const pugi::xml_node& sheet : XmlSelectNodes(xml, "Workbook/Worksheet")) {
    if (XmlPeekAttribute(sheet, "ss:Name") == name && sheet.child("Table")) return sheet;
  }
  return {};
}

// A 1-based spreadsheet index read from an optional "ss:Index"; 0 when the
// attribute is absent. Error 13 when present but not a number.
long ExplicitIndex(const pugi::xml_node& element) {
  const pugi::xml_attribute index = element.attribute("ss:Index");
  if (!index) return 0;
  return ToInt32(ToDouble(index.value(), Locale::Point()));
}

// The column number of a worksheet reference such as "=Bordereau!C3" (or
// "R2C3", "C3:C3"): the digits after the first "C" of the part after the
// last "!". Error 13 without such digits, 6 beyond a 16-bit integer.
int16_t ColumnOfReference(const std::string& reference) {
  const size_t bang = reference.rfind('!');
  const std::string cell = bang == std::string::npos ? reference : reference.substr(bang + 1);
  for (size_t i = 0; i < cell.size(); ++i) {
    if (cell[i] != 'C' && cell[i] != 'c') continue;
    size_t end = i + 1;
    while (end < cell.size() && cell[end] >= '0' && cell[end] <= '9') ++end;
    if (end == i + 1) continue;
    return ToInt16(ToDouble(cell.substr(i + 1, end - i - 1), Locale::Point()));
  }
  ThrowError(kTypeMismatch, "Type mismatch (no column in the reference \"" + reference + "\")");
}

// A worksheet name as a reference writes it: between quotes, inner quotes doubled.
std::string QuotedSheetName(const std::string& name) {
  std::string quoted = "'";
  for (char c : name) quoted += c == '\'' ? std::string("''") : std::string(1, c);
  return quoted + "'";
}

// The named ranges of a worksheet's Names, first occurrence of each name.
std::unordered_map<std::string, pugi::xml_node> IndexNamedRanges(const pugi::xml_node& worksheet) {
  std::unordered_map<std::string, pugi::xml_node> ranges;
  for (const pugi::xml_node& range : XmlSelectNodes(worksheet, "Names/NamedRange")) {
    ranges.emplace(XmlPeekAttribute(range, "ss:Name"), range);
  }
  return ranges;
}

// The cell of row that covers column, or a new cell for it inserted before
// the first cell further right (appended when there is none). A cell without
// "ss:Index" follows the previous one (a merged cell spans its
// "ss:MergeAcross" more columns); a cell after a gap always states its
// index, so the cells after the new one keep their columns.
pugi::xml_node CellOfColumn(pugi::xml_node row, long column, const std::string& range_name) {
  long next = 1;
  pugi::xml_node after;
  for (const pugi::xml_node& cell : XmlSelectNodes(row, "Cell")) {
    const long explicit_index = ExplicitIndex(cell);
    const long index = explicit_index > 0 ? explicit_index : next;
    const std::string merge = XmlPeekAttribute(cell, "ss:MergeAcross");
    const long span = merge.empty() ? 0 : ToInt32(ToDouble(merge, Locale::Point()));
    if (column >= index && column <= index + span) return cell;
    if (index > column) {
      after = cell;
      break;
    }
    next = index + span + 1;
  }
  pugi::xml_node cell = XmlCreateElement(row, "Cell", pugi::xml_node(), after);
  XmlSetAttribute(cell, "ss:Index", std::to_string(column));
  XmlSetAttribute(XmlCreateElement(cell, "Data"), "ss:Type", "String");
  XmlSetAttribute(XmlCreateElement(cell, "NamedCell"), "ss:Name", range_name);
  return cell;
}

// The worksheet fields of a document whose mn:iCell the save rewrites, and
// the nodes that locate new ones, indexed once for the whole pass.
struct WorksheetIndex {
  std::unordered_map<std::string, size_t> cells;         // place in all_cells of each "mn:Name" (its first)
  std::unordered_map<std::string, pugi::xml_node> rows;  // row by this document's mn:iRow "mn:Name"
  std::vector<pugi::xml_node> all_cells;                 // this document's mn:iCell, in order
};

WorksheetIndex IndexWorksheet(const pugi::xml_node& table, const std::string& id) {
  WorksheetIndex index;
  // The elements first, then the maps sized for them at once: a large
  // worksheet's maps would otherwise be rehashed many times over.
  std::vector<std::pair<pugi::xml_node, pugi::xml_node>> irows;  // (mn:iRow, its row)
  std::vector<bool> read;  // the reader reads the element: its row has an mn:iRow of the document
  ForEachChildElement(table, "Row", [&](const pugi::xml_node& row) {
    const size_t first_irow = irows.size();
    ForEachChildElement(row, "mn:iRow", [&](const pugi::xml_node& irow) {
      if (id == irow.attribute("mn:ID").value()) irows.emplace_back(irow, row);
    });
    const bool row_read = irows.size() > first_irow;
    ForEachChildElement(row, "Cell", [&](const pugi::xml_node& cell) {
      ForEachChildElement(cell, "mn:iCell", [&](const pugi::xml_node& icell) {
        if (id == icell.attribute("mn:ID").value()) {
          index.all_cells.push_back(icell);
          read.push_back(row_read);
        }
      });
    });
  });
  index.rows.reserve(irows.size());
  for (const auto& [irow, row] : irows) index.rows.emplace(XmlPeekAttribute(irow, "mn:Name"), row);
  // A name's element is the one the reader took the field from: the first
  // in a row it reads, else the first anywhere.
  index.cells.reserve(index.all_cells.size());
  for (const bool pass_read : {true, false}) {
    for (size_t i = 0; i < index.all_cells.size(); ++i) {
      if (read[i] == pass_read) index.cells.emplace(XmlPeekAttribute(index.all_cells[i], "mn:Name"), i);
    }
  }
  return index;
}

// mn:iPage elements of an image by page number ("1" and "01" are page 1).
std::unordered_map<std::string, pugi::xml_node> IndexPages(const pugi::xml_node& image) {
  std::unordered_map<std::string, pugi::xml_node> pages;
  for (const pugi::xml_node& page : XmlSelectNodes(image, "mn:iPage")) {
    const std::string id = XmlPeekAttribute(page, "mn:ID");
    const std::optional<double> number = ParseNumber(id, Locale::Point());
    pages.emplace(number ? std::to_string(static_cast<long long>(*number)) : id, page);
  }
  return pages;
}

// Whether a later step of the save writes the field: the recurrent step
// writes the recurrent fields (flagged, or listed in ChampsRecurrents), the
// data-contract step the listed data-contract fields when the image has its
// mn:DataContrat. Any other field is written by the cells step, whatever
// its flags, so that no field the document holds is left out of the file.
bool WrittenByLaterStep(const Mandor& mandor, const std::shared_ptr<CChamp>& champ, bool has_data_contract) {
  const std::string nom = champ->Nom();
  const auto listed = [&](const Collection<CChamp>& list) {
    return list.Contains(nom) && list.Item(std::string_view(nom)) == champ;
  };
  if (champ->IsDataContrat()) return has_data_contract && listed(mandor.champsDataContrat);
  return champ->Recurrent() || listed(mandor.ChampsRecurrents);
}

// A save that would lose a data-contract field fails instead: without the
// image's mn:DataContrat the data-contract step writes nothing, so every
// data-contract field must already have its mn:iCell in the marking
// worksheet, where the cells step rewrites it. Error 5 otherwise, before
// anything is written.
void CheckDataContratPlace(const pugi::xml_node& xml, const pugi::xml_node& image, const Mandor& mandor) {
  if (image.child("mn:DataContrat")) return;
  // Most documents have no data-contract field: the worksheet is walked only
  // for those that do.
  bool any = mandor.champsDataContrat.Count() > 0;
  for (auto it = mandor.Champs.begin(); !any && it != mandor.Champs.end(); ++it) any = *it && (*it)->IsDataContrat();
  if (!any) return;
  std::unordered_set<std::string> in_worksheet;
  if (const pugi::xml_node table = MarkingWorksheet(xml).child("Table")) {
    for (const pugi::xml_node& icell : IndexWorksheet(table, mandor.Id).all_cells) {
      in_worksheet.insert(XmlPeekAttribute(icell, "mn:Name"));
    }
  }
  const auto check = [&](const std::shared_ptr<CChamp>& champ) {
    if (!champ || in_worksheet.count(champ->Nom()) != 0) return;
    ThrowError(kInvalidArgument, "the image " + mandor.Id + " has no mn:DataContrat to hold the data-contract field " +
                                     champ->Nom());
  };
  for (const auto& champ : mandor.champsDataContrat) check(champ);
  for (const auto& champ : mandor.Champs) {
    if (champ && champ->IsDataContrat()) check(champ);
  }
}

// The rewritten element of a field goes last in its cell. When an older
// element of the same document and name comes before it there, the reader
// would take that one the next time: the new element is put before it.
void KeepAheadOfNamesakes(pugi::xml_node node) {
  pugi::xml_node cell = node.parent();
  const std::string_view id = node.attribute("mn:ID").value();
  const std::string_view name = node.attribute("mn:Name").value();
  for (pugi::xml_node sibling = cell.first_child(); sibling && sibling != node; sibling = sibling.next_sibling()) {
    if (std::string_view(sibling.name()) == "mn:iCell" && id == sibling.attribute("mn:ID").value() &&
        name == sibling.attribute("mn:Name").value()) {
      cell.insert_move_before(node, sibling);
      return;
    }
  }
}

// Carries an error of the cells step past the save's own handler.
struct CellsFailure {
  Error error;
};

}  // namespace

bool Mandor::SauvegarderMarquageXml(std::shared_ptr<Mandor>& oMandor) {
  bool saved = false;
  try {
    if (!oMandor) ThrowError(kObjectNotSet, "Object variable not set (no document to save)");
    const std::shared_ptr<cMarquage> catalogue = oMandor->oOwnerMarquage();
    if (!catalogue) ThrowError(kObjectNotSet, "Object variable not set (the document has no catalogue)");
    const std::string path = catalogue->FullPath();

    WorkbookDocument workbook;
    if (!workbook.Load(path)) {
      CurrentPlatform().Message("Impossible d'ouvrir le fichier XML [" + path + "].", kDefaultMessageTitle,
                                MessageStyle::kCritical);
      return false;
    }
    const pugi::xml_node xml = workbook.document();
    const pugi::xml_node image = EcrireImageXml(xml, oMandor);
    // Without its image the document's page-level, recurrent and
    // data-contract fields have nowhere to go: the save fails rather than
    // report success with them left out.
    if (!image) ThrowError(kObjectNotSet, "Object variable not set (no mn:Image of ID " + oMandor->Id + ")");
    CheckDataContratPlace(xml, image, *oMandor);
    EcrireColonnesXml(image, oMandor);
    EcrireLignesXml(MarkingWorksheet(xml).child("Table"), oMandor);
    EffacerCellulesPagesXml(image, oMandor);
    try {
      EcrireCellulesXml(xml, oMandor);
    } catch (const Error& e) {
      throw CellsFailure{e};
    } catch (const std::exception& e) {
      throw CellsFailure{Error(kInvalidArgument, e.what())};
    }
    EcrireChampsRecurrentsXml(image, oMandor);
    EcrireDataContratXml(image.child("mn:DataContrat"), oMandor);
    workbook.Save(path);
    saved = true;
  } catch (const CellsFailure& failure) {
    // The cells step cannot be resumed: its failure ends the save with an
    // error for the host instead of a message, and the file is not written.
    throw failure.error;
  } catch (const std::exception& e) {
    CurrentPlatform().Message(std::string("Une erreur est survenue au cours de l'enregistrement : ") + e.what(),
                              "Sauvegarde annulée", MessageStyle::kCritical);
  }
  return saved;
}

pugi::xml_node Mandor::EcrireImageXml(const pugi::xml_node& oXml, const std::shared_ptr<Mandor>& oMandor) {
  const pugi::xml_node image = FindImage(oXml, oMandor->Id);
  if (!image) return image;
  XmlSetAttribute(image, "mn:Dec", std::to_string(oMandor->Decimales));
  XmlSetAttribute(image, "mn:Devise", oMandor->Devise());
  oMandor->Font()->GetXmlFontFromFontClass(image);
  return image;
}

void Mandor::EcrireColonnesXml(const pugi::xml_node& oImage, const std::shared_ptr<Mandor>& oMandor) {
  oMandor->Font()->GetXmlFontFromFontClass(oImage);
  std::unordered_map<std::string, pugi::xml_node> columns;
  for (const pugi::xml_node& column : XmlSelectNodes(oImage, "mn:iCol")) {
    columns.emplace(XmlPeekAttribute(column, "mn:Name"), column);
  }
  // Columns are updated, never created.
  for (const auto& regle : oMandor->Regles_V) {
    const auto found = columns.find(regle->Nom);
    if (found == columns.end()) continue;
    const pugi::xml_node column = found->second;
    XmlSetAttribute(column, "mn:X", XmlNumberText(regle->Position_pixel_X));
    XmlSetAttribute(column, "mn:Dec", std::to_string(regle->Décimales));
    XmlSetAttribute(column, "mn:iPrint", std::to_string(regle->Imprimable));
    XmlSetAttribute(column, "mn:W", XmlNumberText(regle->WidthChamp()));
    if (const std::shared_ptr<CFont> font = regle->GetFontClassFromProperties()) font->GetXmlFontFromFontClass(column);
  }
}

void Mandor::EcrireLignesXml(const pugi::xml_node& oTable, const std::shared_ptr<Mandor>& oMandor) {
  const std::string& id = oMandor->Id;
  // Rows by their line record and by this document's own mn:iRow; the
  // number of the last row, to number the rows appended.
  std::unordered_map<std::string, pugi::xml_node> rows_by_line;
  std::unordered_map<std::string, pugi::xml_node> rows_by_ruler;
  long last_row = 0;
  ForEachChildElement(oTable, "Row", [&](const pugi::xml_node& row) {
    const long explicit_index = ExplicitIndex(row);
    last_row = explicit_index > 0 ? explicit_index : last_row + 1;
    const std::string span = XmlPeekAttribute(row, "ss:Span");
    if (!span.empty()) last_row += ToInt32(ToDouble(span, Locale::Point()));
    ForEachChildElement(row, "mn:ILM",
                        [&](const pugi::xml_node& line) { rows_by_line.emplace(XmlPeekAttribute(line, "mn:Name"), row); });
    ForEachChildElement(row, "mn:iRow", [&](const pugi::xml_node& irow) {
      if (id == irow.attribute("mn:ID").value()) rows_by_ruler.emplace(XmlPeekAttribute(irow, "mn:Name"), row);
    });
  });
  const pugi::xml_node worksheet = oTable.parent();
  std::unordered_map<std::string, pugi::xml_node> ranges;
  bool ranges_indexed = false;

  for (const auto& page : oMandor->Pages) {
    for (const auto& regle : page->Regles_H) {
      const std::string& nom = regle->Nom;
      // The row that already carries this ruler for this document comes
      // first: looking only at the line records would give a second row to
      // a ruler whose row has none (or another one), and reading the file
      // back would then find the ruler twice.
      pugi::xml_node row;
      if (const auto found = rows_by_ruler.find(nom); found != rows_by_ruler.end()) {
        row = found->second;
      } else if (const auto line = rows_by_line.find(nom); line != rows_by_line.end()) {
        row = line->second;
      }
      if (!row) {
        if (!oTable) ThrowError(kObjectNotSet, "Object variable not set (no marking worksheet table)");
        if (!ranges_indexed) {
          ranges = IndexNamedRanges(worksheet);
          ranges_indexed = true;
        }
        const auto nump = ranges.find("NumP");
        if (nump == ranges.end()) ThrowError(kObjectNotSet, "Object variable not set (named range NumP)");
        const std::string nump_reference = XmlPeekAttribute(nump->second, "ss:RefersTo");
        const int16_t nump_column = ColumnOfReference(nump_reference);

        row = XmlCreateElement(oTable, "Row");
        ++last_row;
        pugi::xml_node cell = XmlCreateElement(row, "Cell");
        // The first cell of a row is in column 1 unless it says otherwise.
        if (nump_column != 1) XmlSetAttribute(cell, "ss:Index", std::to_string(nump_column));
        pugi::xml_node data = XmlCreateElement(cell, "Data");
        XmlSetAttribute(data, "ss:Type", "String");
        data.text().set(nom.c_str());
        XmlSetAttribute(XmlCreateElement(cell, "NamedCell"), "ss:Name", "NumP");
        pugi::xml_node line = XmlCreateElement(row, "mn:ILM");
        XmlSetAttribute(line, "mn:Name", nom);
        XmlSetAttribute(line, "mn:Type", regle->TypeLigne);
        XmlSetAttribute(line, "mn:Level", std::to_string(regle->Level));

        // "P_0_<name>" names the line-number cell of the new row. A range of
        // that name left from an earlier row is pointed at the new one
        // rather than doubled (a workbook cannot hold a name twice).
        const size_t bang = nump_reference.rfind('!');
        std::string sheet;
        if (bang == std::string::npos) {
          sheet.append("=").append(QuotedSheetName(XmlPeekAttribute(worksheet, "ss:Name")));
        } else {
          sheet = nump_reference.substr(0, bang);
        }
        const std::string refers_to = sheet + "!R" + std::to_string(last_row) + "C" + std::to_string(nump_column);
        const std::string range_name = "P_0_" + nom;
        pugi::xml_node range;
        if (const auto existing = ranges.find(range_name); existing != ranges.end()) {
          range = existing->second;
        } else {
          range = XmlCreateElement(XmlGetNode(worksheet, "Names"), "NamedRange");
          XmlSetAttribute(range, "ss:Name", range_name);
          ranges.emplace(range_name, range);
        }
        XmlSetAttribute(range, "ss:RefersTo", refers_to);

        // The row count grows with the row; a table that does not state it
        // is left without it.
        if (pugi::xml_attribute count = oTable.attribute("ss:ExpandedRowCount")) {
          const int16_t rows = ToInt16(ToDouble(count.value(), Locale::Point()));
          if (rows == INT16_MAX) ThrowError(kOverflow);
          count.set_value(std::to_string(rows + 1).c_str());
        }
        rows_by_line.emplace(nom, row);
      }

      pugi::xml_node irow;
      ForEachChildElement(row, "mn:iRow", [&](const pugi::xml_node& candidate) {
        if (!irow && id == candidate.attribute("mn:ID").value() && nom == candidate.attribute("mn:Name").value()) {
          irow = candidate;
        }
      });
      if (!irow) {
        irow = XmlCreateElement(row, "mn:iRow");
        XmlSetAttribute(irow, "mn:ID", id);
        XmlSetAttribute(irow, "mn:Name", nom);
        rows_by_ruler.emplace(nom, row);
      }
      XmlSetAttribute(irow, "mn:Y", XmlNumberText(regle->Position_pixel_Y));
      XmlSetAttribute(irow, "mn:Page", page->Id);
      if (const std::shared_ptr<CFont> font = regle->GetFontClassFromProperties()) font->GetXmlFontFromFontClass(irow);
    }
  }
}

void Mandor::EffacerCellulesPagesXml(const pugi::xml_node& oImage, const std::shared_ptr<Mandor>& /*oMandor*/) {
  for (pugi::xml_node page : XmlSelectNodes(oImage, "mn:iPage")) {
    for (pugi::xml_node cell : XmlSelectNodes(page, "Cell")) page.remove_child(cell);
  }
}

void Mandor::EcrireCellulesXml(const pugi::xml_node& oXml, const std::shared_ptr<Mandor>& oMandor) {
  const std::string& id = oMandor->Id;
  const pugi::xml_node image = FindImage(oXml, id);
  const pugi::xml_node worksheet = MarkingWorksheet(oXml);
  const pugi::xml_node table = worksheet.child("Table");
  WorksheetIndex index = IndexWorksheet(table, id);
  const std::unordered_map<std::string, pugi::xml_node> pages = IndexPages(image);
  std::unordered_map<std::string, pugi::xml_node> ranges;
  bool ranges_indexed = false;
  // Each name's element now: first the document's elements as read, then
  // those this save adds. Writing a field rebuilds its element, so the one
  // read is gone: `rewritten` tells which, and only the elements read that
  // were not are touched at the end.
  std::vector<pugi::xml_node> current = index.all_cells;
  std::vector<bool> rewritten(index.all_cells.size(), false);

  const auto page_of = [&pages](const CChamp& champ) {
    const auto found = pages.find(std::to_string(champ.Page));
    if (found == pages.end()) {
      ThrowError(kObjectNotSet, "Object variable not set (no page " + std::to_string(champ.Page) + " for the field " +
                                    champ.Nom() + ")");
    }
    return found->second;
  };
  const auto write_on_page = [&](CChamp& champ) {
    pugi::xml_node node = XmlCreateElement(XmlCreateElement(page_of(champ), "Cell"), "mn:iCell");
    champ.MajXmlNodeFromChampProperties(node);
    return node;
  };
  const bool has_data_contract = static_cast<bool>(image.child("mn:DataContrat"));

  for (const auto& champ : oMandor->Champs) {
    const std::string nom = champ->Nom();
    // Recurrent and data-contract fields have steps of their own and no
    // rulers to place them in the worksheet; they are left to those steps
    // whatever their name, when those steps write them.
    if (WrittenByLaterStep(*oMandor, champ, has_data_contract)) continue;
    if (IsPageLevelName(nom)) {
      write_on_page(*champ);
      continue;
    }

    pugi::xml_node node;
    constexpr size_t kNew = SIZE_MAX;
    size_t place = kNew;
    if (const auto known = index.cells.find(nom); known != index.cells.end()) {
      place = known->second;
      if (rewritten[place]) {
        // An earlier field of the same name (unnamed fields share one) has
        // taken that element: this one takes the next element of the name
        // not rewritten yet, or is new, so that each element is rewritten
        // once and a second save gives the same file.
        place = kNew;
        for (size_t i = 0; i < index.all_cells.size(); ++i) {
          if (!rewritten[i] && XmlPeekAttribute(index.all_cells[i], "mn:Name") == nom) {
            place = i;
            break;
          }
        }
      }
    }
    if (place != kNew) node = current[place];
    if (!node) {
      // A new field: the cell at the crossing of its rulers' row and column.
      pugi::xml_node row;
      long column = 0;
      if (const std::shared_ptr<CRegle> regle_h = champ->oRegleH()) {
        if (const auto found = index.rows.find(regle_h->Nom); found != index.rows.end()) row = found->second;
      }
      const std::shared_ptr<CRegle> regle_v = champ->oRegleV();
      if (row && regle_v) {
        if (!ranges_indexed) {
          ranges = IndexNamedRanges(worksheet);
          ranges_indexed = true;
        }
        if (const auto found = ranges.find(regle_v->Nom); found != ranges.end()) {
          column = ColumnOfReference(XmlPeekAttribute(found->second, "ss:RefersTo"));
        }
      }
      if (!row || column < 1) {
        // No place for it in the worksheet (a field read from a page-level
        // cell, or whose rulers have no row or named column): it stays a
        // page-level field rather than making the save fail. A page-level
        // cell is read without rulers, so it states its whole position: the
        // parts its rulers would have given are written out too.
        pugi::xml_node node = write_on_page(*champ);
        if (champ->oRegleV()) {
          XmlSetAttribute(node, "mn:X", XmlNumberText(champ->Position_pixel_Left));
          XmlSetAttribute(node, "mn:W", XmlNumberText(static_cast<double>(champ->Position_pixel_Right) -
                                       static_cast<double>(champ->Position_pixel_Left)));
        }
        if (champ->oRegleH()) {
          XmlSetAttribute(node, "mn:Y", XmlNumberText(champ->Position_pixel_Top));
          XmlSetAttribute(node, "mn:H", XmlNumberText(static_cast<double>(champ->Position_pixel_Bottom) -
                                       static_cast<double>(champ->Position_pixel_Top)));
        }
        continue;
      }
      node = XmlCreateElement(CellOfColumn(row, column, regle_v->Nom), "iCell");
    }
    champ->MajXmlNodeFromChampProperties(node);
    // (An unnamed element's namesakes go in the clean-up: it stays last.)
    if (oMandor->Champs.Contains(nom)) KeepAheadOfNamesakes(node);
    if (place != kNew) {
      current[place] = node;
      rewritten[place] = true;
    } else {
      index.cells.emplace(nom, current.size());
      current.push_back(node);
      rewritten.push_back(true);
    }
  }

  // Clean-up: an mn:iCell of this document goes only when the document no
  // longer has a field of its name. An element the save did not rewrite
  // (a second one of the same name, one of a field now written elsewhere)
  // stays as it was: removing it could remove the values the user had.
  // Other documents' elements stay.
  for (size_t i = 0; i < index.all_cells.size(); ++i) {
    if (rewritten[i]) continue;
    if (oMandor->Champs.Contains(XmlPeekAttribute(index.all_cells[i], "mn:Name"))) continue;
    if (pugi::xml_node cell = index.all_cells[i].parent()) cell.remove_child(index.all_cells[i]);
  }
}

void Mandor::EcrireChampsRecurrentsXml(const pugi::xml_node& oImage, const std::shared_ptr<Mandor>& oMandor) {
  if (!oImage) return;
  pugi::xml_node image = oImage;
  for (pugi::xml_node old : XmlSelectNodes(image, "mn:ChampsRecurrents")) image.remove_child(old);

  // The reader puts recurrent fields into Champs only (flagged Recurrent),
  // not into ChampsRecurrents: rebuilding from ChampsRecurrents alone would
  // drop every recurrent field of a catalogue that was read and saved. Both
  // are written, each name once.
  std::vector<std::shared_ptr<CChamp>> champs;
  std::unordered_set<std::string> names;
  for (const auto& champ : oMandor->ChampsRecurrents) {
    if (names.insert(champ->Nom()).second) champs.push_back(champ);
  }
  for (const auto& champ : oMandor->Champs) {
    if (champ->Recurrent() && !champ->IsDataContrat() && names.insert(champ->Nom()).second) champs.push_back(champ);
  }
  if (champs.empty()) return;

  const pugi::xml_node list = XmlCreateElement(oImage, "mn:ChampsRecurrents");
  for (const auto& champ : champs) {
    pugi::xml_node node = XmlCreateElement(list, "mn:iCell");
    champ->MajXmlNodeFromChampProperties(node);
  }
}

void Mandor::EcrireDataContratXml(const pugi::xml_node& oDataContrat, const std::shared_ptr<Mandor>& oMandor) {
  if (!oDataContrat) return;
  std::unordered_map<std::string, pugi::xml_node> cells;
  for (const pugi::xml_node& cell : XmlSelectNodes(oDataContrat, "mn:iCell"))
    cells.emplace(XmlPeekAttribute(cell, "mn:Name"), cell);
  for (const auto& champ : oMandor->champsDataContrat) {
    pugi::xml_node node;
    if (const auto found = cells.find(champ->Nom()); found != cells.end()) {
      node = found->second;
    } else {
      // A data-contract field the file does not hold yet gets its element
      // instead of failing the whole save.
      node = XmlCreateElement(oDataContrat, "mn:iCell");
      cells.emplace(champ->Nom(), node);
    }
    champ->MajXmlNodeDataContratFromChampProperties(node);
  }
}

}  // namespace mandor
