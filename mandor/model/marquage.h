// cMarquage is the catalogue: the documents (Mandor) that belong together,
// for example the detail estimate, the price schedule and the engagement act
// of one tender, with what they share: the catalogue file and its folder, the
// catalogue name, the currency table and the default font every document font
// inherits from.
//
// Documents are added one by one from their text markings (Add) or all at
// once from a catalogue workbook (XML_ReadCNF; the members that read and
// write the workbook are defined in xml/). Each document points back to
// the catalogue through its oOwnerMarquage, so a catalogue must live in a
// std::shared_ptr (std::make_shared<cMarquage>()).
//
// Threading: single-threaded, as the whole model is: a catalogue and its
// documents are used by one thread at a time (the host's); nothing here
// locks, and nothing is shared between threads but what the platform holds.
#ifndef MANDOR_MODEL_MARQUAGE_H_
#define MANDOR_MODEL_MARQUAGE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/fields/font.h"
#include "mandor/model/devises.h"
#include "mandor/util/collection.h"

namespace pugi {
class xml_node;
}  // namespace pugi

namespace mandor {

class ImagePdf;
class Mandor;

class cMarquage : public std::enable_shared_from_this<cMarquage> {
 public:
  cMarquage();
  ~cMarquage();
  cMarquage(const cMarquage&) = delete;
  cMarquage& operator=(const cMarquage&) = delete;

  std::shared_ptr<Devises> oDevises;  // created on first need
  std::shared_ptr<CFont> Font;        // parent of every document's font

  // --- file and name ---
  // Stores the full path; when it holds a folder separator ("\" or "/"),
  // derives the folder (with its separator), the file and the name (the file
  // less its last extension) and lists the folder's text markings.
  void FullPath(const std::string& value);
  std::string FullPath() const { return state_.full_path; }
  std::string Path() const { return state_.folder; }
  std::string File() const { return state_.file; }
  std::string Name() const { return state_.name; }
  void Name(const std::string& value) { state_.name = value; }

  // --- documents ---
  // A new document restored from its text marking Path + Name (".xnf", else
  // ".cnf"); numero_page is 1 when restored, -1 when not. An empty sKey adds
  // it without key. Error 457 when sKey is already used.
  std::shared_ptr<Mandor> Add(const std::string& sKey, const std::string& Name, const std::string& Path);
  // A new document from an mn:Image element, keyed by its "mn:ID". Error 5
  // when "mn:Name" is shorter than 4 characters, 457 for a used key.
  std::shared_ptr<Mandor> AddItemWithNode(pugi::xml_node oNode, std::string sPath = "");
  // By 1-based position (Error 9 outside 1..Count) or by key (Error 5 when absent).
  std::shared_ptr<Mandor> Item(long index) const;
  std::shared_ptr<Mandor> Item(std::string_view key) const;
  int32_t Count() const;
  void Remove(long index);
  void Remove(std::string_view key);
  void Clear();
  // Range-for over the documents in order (the enumerator of the catalogue).
  Collection<Mandor>::const_iterator begin() const;
  Collection<Mandor>::const_iterator end() const;

  // --- catalogue workbook ---
  // Loads the catalogue file sFile and appends its documents. Returns this
  // catalogue, or nullptr (catalogue untouched) when the file cannot be read
  // or is not well-formed. A malformed header ("mn:Orientation" or "mn:H" not
  // numeric) throws mandor::Error and leaves the catalogue as it was.
  std::shared_ptr<cMarquage> XML_ReadCNF(const std::string& sFile);
  // Adds the engagement act oTmpAeMandor, imaged by iPdf, to the catalogue
  // file and returns the new document.
  std::shared_ptr<Mandor> XML_AddNewAE(std::shared_ptr<Mandor>& oTmpAeMandor, ImagePdf& iPdf);

  // The ".cnf" and ".xnf" files found in the folder when FullPath was last set.
  const std::vector<std::string>& FolderFiles() const { return state_.folder_files; }

 private:
  friend class CatalogueReader;  // builds the next State of a read (xml_reader.cpp)

  // What the catalogue holds besides its public members. A workbook read
  // builds the next State whole and swaps it in, so that a read that fails
  // leaves the catalogue as it was.
  struct State {
    Collection<Mandor> documents;
    std::string full_path;
    std::string folder;  // with its separator
    std::string file;
    std::string name;
    std::vector<std::string> folder_files;

    // Stores the full path and, when it holds a folder separator, the
    // folder, file and name it gives, and the folder's text markings.
    void SetFullPath(const std::string& value);
  };

  // A document made from an mn:Image element, owned by this catalogue but
  // not yet in any collection (AddItemWithNode, the reader).
  std::shared_ptr<Mandor> DocumentFromNode(const pugi::xml_node& oNode, std::string sPath);

  State state_;
};

}  // namespace mandor

#endif  // MANDOR_MODEL_MARQUAGE_H_
