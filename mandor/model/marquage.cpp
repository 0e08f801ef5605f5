// The catalogue's collection of documents, its file and folder. The members
// that read and write the catalogue workbook are defined in xml/.
#include "mandor/model/marquage.h"

#include "mandor/model/mandor.h"
#include "mandor/util/platform.h"
#include "mandor/util/internal/text.h"

namespace mandor {

cMarquage::cMarquage() = default;

// Documents still held by the host survive; they only lose their catalogue.
cMarquage::~cMarquage() = default;

void cMarquage::FullPath(const std::string& value) { state_.SetFullPath(value); }

void cMarquage::State::SetFullPath(const std::string& value) {
  full_path = value;
  // The last folder separator: "\" as in the catalogues' own paths, or "/".
  const size_t sep = value.find_last_of("\\/");
  if (sep == std::string::npos) return;
  folder = value.substr(0, sep + 1);
  file = value.substr(sep + 1);
  const size_t dot = file.rfind('.');
  name = dot == std::string::npos ? file : file.substr(0, dot);

  folder_files.clear();
  std::vector<FolderEntry> entries;
  try {
    entries = CurrentPlatform().ListFolder(folder);
  } catch (const std::exception&) {
    return;  // a folder that cannot be opened lists nothing
  }
  for (const FolderEntry& entry : entries) {
    const size_t ext = entry.name.rfind('.');
    const std::string extension = ext == std::string::npos ? "" : LowerCase(entry.name.substr(ext + 1));
    if (extension == "xnf" || extension == "cnf") folder_files.push_back(entry.path);
  }
}

std::shared_ptr<Mandor> cMarquage::Add(const std::string& sKey, const std::string& Name, const std::string& Path) {
  auto document = std::make_shared<Mandor>();
  document->oOwnerMarquage(shared_from_this());
  document->Id = sKey;
  document->Nom_Document(Name);
  document->Répertoire_Document = Path;
  state_.documents.Add(document, sKey);
  document->numero_page = document->RestaurerMarquage() ? 1 : -1;
  return document;
}

std::shared_ptr<Mandor> cMarquage::Item(long index) const { return state_.documents.Item(index); }
std::shared_ptr<Mandor> cMarquage::Item(std::string_view key) const { return state_.documents.Item(key); }
int32_t cMarquage::Count() const { return static_cast<int32_t>(state_.documents.Count()); }
void cMarquage::Remove(long index) { state_.documents.Remove(index); }
void cMarquage::Remove(std::string_view key) { state_.documents.Remove(key); }

void cMarquage::Clear() {
  for (long i = Count(); i >= 1; --i) state_.documents.Remove(i);
}

Collection<Mandor>::const_iterator cMarquage::begin() const { return state_.documents.begin(); }
Collection<Mandor>::const_iterator cMarquage::end() const { return state_.documents.end(); }

}  // namespace mandor
