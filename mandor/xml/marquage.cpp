#include "mandor/model/marquage.h"

#include <utility>

#include "mandor/model/mandor.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"
#include "mandor/xml/internal/workbook.h"
#include "mandor/xml/internal/xml_access.h"

namespace mandor {

namespace {

// Position of the last folder separator of path ("\" as in the catalogues'
// own paths, or "/" on POSIX), npos when there is none.
size_t LastSeparator(std::string_view path) { return path.find_last_of("\\/"); }

// True when the first text node of an element, in a document loaded without
// its blank text, may have had a blank one before it: one that is not the
// element's first child, or a CDATA section, which blank text can precede.
bool MayFollowBlankText(const pugi::xml_text& text) {
  const pugi::xml_node node = text.data();
  return node && (node != node.parent().first_child() || node.type() != pugi::node_pcdata);
}

}  // namespace

cMarquage::cMarquage() = default;

// Documents still held by the host survive; they only lose their catalogue.
cMarquage::~cMarquage() = default;

void cMarquage::FullPath(const std::string& value) {
  full_path_ = value;
  const size_t sep = LastSeparator(value);
  if (sep == std::string::npos) return;
  folder_ = value.substr(0, sep + 1);
  file_ = value.substr(sep + 1);
  const size_t dot = file_.rfind('.');
  name_ = dot == std::string::npos ? file_ : file_.substr(0, dot);
  ScanFolder();
}

void cMarquage::ScanFolder() {
  folder_files_.clear();
  std::vector<FolderEntry> entries;
  try {
    entries = CurrentPlatform().ListFolder(folder_);
  } catch (const std::exception&) {
    return;  // a folder that cannot be opened lists nothing
  }
  for (const FolderEntry& entry : entries) {
    const size_t dot = entry.name.rfind('.');
    const std::string extension = dot == std::string::npos ? "" : LowerCase(entry.name.substr(dot + 1));
    if (extension == "xnf" || extension == "cnf") folder_files_.push_back(entry.path);
  }
}

std::shared_ptr<Mandor> cMarquage::Add(const std::string& sKey, const std::string& Name, const std::string& Path) {
  auto document = std::make_shared<Mandor>();
  document->oOwnerMarquage(shared_from_this());
  document->Id = sKey;
  document->Nom_Document(Name);
  document->Répertoire_Document = Path;
  documents_.Add(document, sKey);
  document->numero_page = document->RestaurerMarquage() ? 1 : -1;
  return document;
}

std::shared_ptr<Mandor> cMarquage::AddItemWithNode(pugi::xml_node oNode, std::string sPath) {
  if (sPath.empty() || (sPath.back() != '\\' && sPath.back() != '/')) sPath += '\\';
  auto document = std::make_shared<Mandor>();
  document->Id = XmlGetAttribute(oNode, "mn:ID").value();
  const std::string image_name = XmlGetAttribute(oNode, "mn:Name").value();
  const long length = static_cast<long>(CharLength(image_name));
  if (length < 4) ThrowError(kInvalidArgument);
  document->Nom_Document(Left(image_name, length - 4));
  const std::string type = XmlGetAttribute(oNode, "mn:Type").value();
  if (type == "DET" || type == "DQE") {
    document->Type_Document = document->DOCUMENT_DETAIL();
  } else if (type == "BPX" || type == "BPU") {
    document->Type_Document = document->DOCUMENT_PRIX();
  } else if (type == "AE" || type == "PC") {
    document->Type_Document = document->DOCUMENT_AE();
  } else {
    // A code outside the table gives no kind: the one Nom_Document derived
    // from the file name ("..._ae" would make an engagement act) is dropped.
    document->Type_Document.clear();
  }
  document->Répertoire_Document = sPath;
  document->oOwnerMarquage(shared_from_this());
  documents_.Add(document, document->Id);
  return document;
}

std::shared_ptr<Mandor> cMarquage::Item(long index) const { return documents_.Item(index); }
std::shared_ptr<Mandor> cMarquage::Item(std::string_view key) const { return documents_.Item(key); }
int32_t cMarquage::Count() const { return static_cast<int32_t>(documents_.Count()); }
void cMarquage::Remove(long index) { documents_.Remove(index); }
void cMarquage::Remove(std::string_view key) { documents_.Remove(key); }

void cMarquage::Clear() {
  for (long i = Count(); i >= 1; --i) documents_.Remove(i);
}

Collection<Mandor>::const_iterator cMarquage::begin() const { return documents_.begin(); }
Collection<Mandor>::const_iterator cMarquage::end() const { return documents_.end(); }

std::shared_ptr<cMarquage> cMarquage::XML_ReadCNF(const std::string& sFile) {
  // The workbook is dropped after the read: its blank text is not needed.
  WorkbookDocument workbook;
  if (!workbook.Load(sFile, WorkbookDocument::Keep::kWithoutBlankText)) return nullptr;

  // A read that fails half-way leaves the catalogue as it was before it.
  Collection<Mandor> saved_documents = documents_;
  const std::string saved_full_path = full_path_, saved_folder = folder_, saved_file = file_, saved_name = name_;
  std::vector<std::string> saved_folder_files = folder_files_;
  std::shared_ptr<Devises> saved_devises = oDevises;
  std::shared_ptr<CFont> saved_font = Font;
  std::vector<float> saved_tva;
  for (const auto& document : documents_) saved_tva.push_back(document->TVA);
  reader_indexes_.reset();
  try {
    FullPath(sFile);
    const pugi::xml_node root = workbook.document();
    if (pugi::xml_node header = XmlSelectNode(root, "Workbook/mn:MANDOR")) XML_ReadMandor(header);
    constexpr std::string_view kProperties = "Workbook/CustomDocumentProperties";
    if (pugi::xml_node properties = XmlSelectNode(root, kProperties)) {
      // The rate is the first text of its element, which may be blank text
      // the load left out; then it is read from the whole file.
      WorkbookDocument whole;
      if (MayFollowBlankText(XmlGetNode(properties, "TVA").text()) && whole.Load(sFile)) {
        properties = XmlSelectNode(whole.document(), kProperties);
      }
      XML_ReadTVA(properties);
    }
    // The name goes into the query as an XPath literal; a name holding "'"
    // is quoted with '"' instead so that the query stays well-formed.
    const char quote = name_.find('\'') == std::string::npos ? '\'' : '"';
    const std::string table_query =
        std::string("Workbook/Worksheet[@ss:Name=") + quote + name_ + quote + "]/Table";
    if (pugi::xml_node table = XmlSelectNode(root, table_query)) XML_ReadTable(table);
  } catch (...) {
    const size_t kept = saved_tva.size();
    for (size_t i = 0; i < static_cast<size_t>(documents_.Count()); ++i) {
      const auto& document = documents_.Item(static_cast<long>(i + 1));
      if (i < kept) {
        document->TVA = saved_tva[i];
      } else {
        document->m_oOwnerMarquage.reset();
      }
    }
    documents_ = std::move(saved_documents);
    full_path_ = saved_full_path;
    folder_ = saved_folder;
    file_ = saved_file;
    name_ = saved_name;
    folder_files_ = std::move(saved_folder_files);
    oDevises = std::move(saved_devises);
    Font = std::move(saved_font);
    reader_indexes_.reset();
    throw;
  }
  reader_indexes_.reset();
  return shared_from_this();
}

}  // namespace mandor
