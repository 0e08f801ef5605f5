#include "mandor/testing/memory_platform.h"

#include <deque>
#include <map>
#include <set>
#include <utility>

#include "mandor/util/internal/buffer_text_file.h"
#include "mandor/util/internal/cp1252.h"

namespace mandor {

namespace {

struct FileEntry {
  // Shared with the output files open on it, which keep writing to it even
  // after the entry is deleted or renamed.
  std::shared_ptr<std::string> bytes = std::make_shared<std::string>();
  bool read_only = false;
  // The content is on the device: it survives a power cut.
  bool durable = false;
};

struct Failure {
  MemoryPlatform::Operation op;
  std::string path_substring;
  int error_number;
};

struct WriteLimit {
  size_t lines_left;
  std::string path_substring;
  int error_number;
};

bool Matches(const std::string& path, const std::string& substring) {
  return path.find(substring) != std::string::npos;
}

// The folder path with exactly one trailing "/", or "" for the root.
std::string FolderPrefix(const std::string& folder) {
  std::string prefix = folder;
  while (!prefix.empty() && prefix.back() == '/') prefix.pop_back();
  if (prefix.empty() && !folder.empty()) return "/";  // "/" itself
  if (!prefix.empty()) prefix += '/';
  return prefix;
}

}  // namespace

struct MemoryPlatform::State {
  std::map<std::string, FileEntry> files;
  std::set<std::string> folders;  // created explicitly, as prefixes ending in "/"
  std::vector<Failure> failures;
  std::vector<WriteLimit> write_limits;
  size_t open_files = 0;
  uint64_t temporary_counter = 0;
  size_t commits = 0;

  std::vector<RecordedMessage> messages;
  std::vector<RecordedMessage> questions;
  bool answer = false;
  std::deque<bool> queued_answers;

  uint64_t random_state = 1;
  std::deque<double> queued_random;

  // Throws the injected error of op on path, if any.
  void CheckFailure(Operation op, const std::string& path) const {
    for (const Failure& f : failures) {
      if (f.op == op && Matches(path, f.path_substring)) ThrowError(f.error_number);
    }
  }

  // Counts one line written to path against the write limits.
  void CheckWrite(const std::string& path) {
    CheckFailure(Operation::kWrite, path);
    for (WriteLimit& limit : write_limits) {
      if (!Matches(path, limit.path_substring)) continue;
      if (limit.lines_left == 0) ThrowError(limit.error_number);
    }
    for (WriteLimit& limit : write_limits) {
      if (Matches(path, limit.path_substring)) --limit.lines_left;
    }
  }

  bool FolderExists(const std::string& folder) const {
    const std::string prefix = FolderPrefix(folder);
    if (prefix.empty() || folders.count(prefix) > 0) return true;
    const auto it = files.lower_bound(prefix);
    if (it != files.end() && it->first.compare(0, prefix.size(), prefix) == 0) return true;
    // A folder holding only created sub-folders exists too.
    const auto sub = folders.lower_bound(prefix);
    return sub != folders.end() && sub->compare(0, prefix.size(), prefix) == 0;
  }

  FileEntry* Find(const std::string& path) {
    const auto it = files.find(path);
    return it == files.end() ? nullptr : &it->second;
  }
};

namespace {

using State = MemoryPlatform::State;

// A file open for output: each line goes straight into the file's content.
class MemoryOutputFile : public OutputTextFile {
 public:
  MemoryOutputFile(std::shared_ptr<State> state, std::string path,
                   std::shared_ptr<std::string> bytes)
      : state_(std::move(state)), path_(std::move(path)), bytes_(std::move(bytes)) {
    ++state_->open_files;
  }
  ~MemoryOutputFile() override { CloseQuietly(); }
  MemoryOutputFile(const MemoryOutputFile&) = delete;
  MemoryOutputFile& operator=(const MemoryOutputFile&) = delete;

 protected:
  void WriteBytes(std::string_view bytes) override {
    state_->CheckWrite(path_);
    bytes_->append(bytes);
  }

  void CloseBytes() override {
    --state_->open_files;
    state_->CheckFailure(MemoryPlatform::Operation::kClose, path_);
  }

 private:
  std::shared_ptr<State> state_;
  std::string path_;
  std::shared_ptr<std::string> bytes_;
};

}  // namespace

MemoryPlatform::MemoryPlatform() : MemoryPlatform(Locale::Point()) {}

MemoryPlatform::MemoryPlatform(Locale locale) : state_(std::make_shared<State>()) {
  SetLocale(std::move(locale));
}

MemoryPlatform::~MemoryPlatform() = default;

// --- Platform ---

bool MemoryPlatform::FileExists(const std::string& path) {
  return state_->Find(path) != nullptr;
}

void MemoryPlatform::CopyFile(const std::string& from, const std::string& to) {
  state_->CheckFailure(Operation::kCopy, from);
  state_->CheckFailure(Operation::kCopy, to);
  const FileEntry* source = state_->Find(from);
  if (source == nullptr) ThrowError(kFileNotFound);
  if (from == to || state_->FolderExists(to)) ThrowError(kPathFileAccessError);
  FileEntry* target = state_->Find(to);
  if (target == nullptr) {
    FileEntry entry;
    *entry.bytes = *source->bytes;
    state_->files.emplace(to, std::move(entry));
  } else {
    if (target->read_only) ThrowError(kPathFileAccessError);
    *target->bytes = *source->bytes;
    target->durable = false;
  }
}

void MemoryPlatform::DeleteFile(const std::string& path) {
  state_->CheckFailure(Operation::kDelete, path);
  if (state_->files.erase(path) == 0) ThrowError(kFileNotFound);
}

void MemoryPlatform::RenameFile(const std::string& from, const std::string& to) {
  state_->CheckFailure(Operation::kRename, from);
  state_->CheckFailure(Operation::kRename, to);
  const auto it = state_->files.find(from);
  if (it == state_->files.end()) ThrowError(kFileNotFound);
  if (from == to) return;
  if (state_->FolderExists(to)) ThrowError(kPathFileAccessError);
  FileEntry entry = std::move(it->second);
  state_->files.erase(it);
  state_->files[to] = std::move(entry);
}

std::vector<FolderEntry> MemoryPlatform::ListFolder(const std::string& folder) {
  state_->CheckFailure(Operation::kList, folder);
  if (!state_->FolderExists(folder)) ThrowError(kPathNotFound);
  const std::string prefix = FolderPrefix(folder);
  std::vector<FolderEntry> entries;
  for (auto it = state_->files.lower_bound(prefix); it != state_->files.end(); ++it) {
    const std::string& path = it->first;
    if (path.compare(0, prefix.size(), prefix) != 0) break;
    std::string name = path.substr(prefix.size());
    if (name.empty() || name.find('/') != std::string::npos) continue;  // in a sub-folder
    entries.push_back({std::move(name), path});
  }
  return entries;  // the map keeps paths, hence names under one prefix, sorted
}

std::unique_ptr<TextFile> MemoryPlatform::OpenTextFile(const std::string& path, OpenMode mode) {
  if (mode == OpenMode::kInput) {
    state_->CheckFailure(Operation::kOpenInput, path);
    const FileEntry* entry = state_->Find(path);
    if (entry == nullptr) ThrowError(kFileNotFound);
    ++state_->open_files;
    return std::make_unique<BufferTextFile>(
        *entry->bytes, [state = state_] { --state->open_files; });
  }
  state_->CheckFailure(Operation::kOpenOutput, path);
  if (path.empty() || state_->FolderExists(path)) ThrowError(kPathFileAccessError);
  FileEntry& entry = state_->files[path];
  if (entry.read_only) ThrowError(kPathFileAccessError);
  entry.bytes->clear();  // truncated in place, as O_TRUNC does
  entry.durable = false;
  return std::make_unique<MemoryOutputFile>(state_, path, entry.bytes);
}

std::string MemoryPlatform::ReadFileBytes(const std::string& path) {
  state_->CheckFailure(Operation::kOpenInput, path);
  const FileEntry* entry = state_->Find(path);
  if (entry == nullptr) ThrowError(kFileNotFound);
  return *entry->bytes;
}

void MemoryPlatform::WriteFileBytes(const std::string& path, std::string_view bytes) {
  state_->CheckFailure(Operation::kOpenOutput, path);
  if (path.empty() || state_->FolderExists(path)) ThrowError(kPathFileAccessError);
  FileEntry& entry = state_->files[path];
  if (entry.read_only) ThrowError(kPathFileAccessError);
  entry.bytes->clear();
  entry.durable = false;
  state_->CheckWrite(path);
  entry.bytes->append(bytes);
  state_->CheckFailure(Operation::kClose, path);
}

std::string MemoryPlatform::CreateTemporaryFile(const std::string& target) {
  for (;;) {
    const std::string path = TemporaryFileName(target, ++state_->temporary_counter);
    if (state_->Find(path) != nullptr) continue;
    state_->CheckFailure(Operation::kOpenOutput, path);
    if (state_->FolderExists(path)) ThrowError(kPathFileAccessError);
    state_->files.emplace(path, FileEntry{});
    return path;
  }
}

void MemoryPlatform::CommitFile(const std::string& temporary, const std::string& target) {
  state_->CheckFailure(Operation::kFlush, temporary);
  FileEntry* entry = state_->Find(temporary);
  if (entry == nullptr) ThrowError(kFileNotFound);
  entry->durable = true;
  RenameFile(temporary, target);
  ++state_->commits;
}

void MemoryPlatform::Message(const std::string& text, const std::string& title,
                             MessageStyle style) {
  state_->messages.push_back({text, title, style});
}

bool MemoryPlatform::AskYesNo(const std::string& text, const std::string& title) {
  state_->questions.push_back({text, title, MessageStyle::kQuestion});
  if (state_->queued_answers.empty()) return state_->answer;
  const bool answer = state_->queued_answers.front();
  state_->queued_answers.pop_front();
  return answer;
}

double MemoryPlatform::Random() {
  if (!state_->queued_random.empty()) {
    const double value = state_->queued_random.front();
    state_->queued_random.pop_front();
    return value;
  }
  // Knuth's MMIX generator; its high 53 bits make a double in [0, 1).
  state_->random_state = state_->random_state * 6364136223846793005ULL + 1442695040888963407ULL;
  return static_cast<double>(state_->random_state >> 11) * 0x1.0p-53;
}

// --- files ---

void MemoryPlatform::SetFileBytes(const std::string& path, std::string_view bytes) {
  FileEntry& entry = state_->files[path];
  entry.bytes->assign(bytes);
  entry.durable = true;
}

void MemoryPlatform::SetFileText(const std::string& path, std::string_view utf8) {
  SetFileBytes(path, Utf8ToWindows1252(utf8));
}

std::optional<std::string> MemoryPlatform::FileBytes(const std::string& path) const {
  const FileEntry* entry = state_->Find(path);
  if (entry == nullptr) return std::nullopt;
  return *entry->bytes;
}

std::optional<std::string> MemoryPlatform::FileText(const std::string& path) const {
  const FileEntry* entry = state_->Find(path);
  if (entry == nullptr) return std::nullopt;
  return Windows1252ToUtf8(*entry->bytes);
}

std::optional<std::vector<std::string>> MemoryPlatform::FileLines(const std::string& path) const {
  const FileEntry* entry = state_->Find(path);
  if (entry == nullptr) return std::nullopt;
  return DecodeTextLines(*entry->bytes);
}

void MemoryPlatform::SetReadOnly(const std::string& path, bool read_only) {
  FileEntry* entry = state_->Find(path);
  if (entry == nullptr) ThrowError(kFileNotFound);
  entry->read_only = read_only;
}

bool MemoryPlatform::IsReadOnly(const std::string& path) const {
  const FileEntry* entry = state_->Find(path);
  return entry != nullptr && entry->read_only;
}

void MemoryPlatform::CreateFolder(const std::string& folder) {
  const std::string prefix = FolderPrefix(folder);
  if (!prefix.empty()) state_->folders.insert(prefix);
}

std::vector<std::string> MemoryPlatform::Paths() const {
  std::vector<std::string> paths;
  paths.reserve(state_->files.size());
  for (const auto& [path, entry] : state_->files) paths.push_back(path);
  return paths;
}

size_t MemoryPlatform::OpenFileCount() const { return state_->open_files; }

void MemoryPlatform::SimulatePowerLoss() {
  for (auto& [path, entry] : state_->files) {
    if (!entry.durable) entry.bytes->clear();
    entry.durable = true;
  }
}

size_t MemoryPlatform::CommitCount() const { return state_->commits; }

// --- failure injection ---

void MemoryPlatform::FailOn(Operation op, std::string path_substring, int error_number) {
  state_->failures.push_back({op, std::move(path_substring), error_number});
}

void MemoryPlatform::FailWriteAfter(size_t lines, std::string path_substring, int error_number) {
  state_->write_limits.push_back({lines, std::move(path_substring), error_number});
}

void MemoryPlatform::ClearFailures() {
  state_->failures.clear();
  state_->write_limits.clear();
}

// --- messages ---

const std::vector<MemoryPlatform::RecordedMessage>& MemoryPlatform::messages() const {
  return state_->messages;
}

const std::vector<MemoryPlatform::RecordedMessage>& MemoryPlatform::questions() const {
  return state_->questions;
}

void MemoryPlatform::ClearMessages() {
  state_->messages.clear();
  state_->questions.clear();
}

void MemoryPlatform::SetAnswer(bool yes) { state_->answer = yes; }

void MemoryPlatform::QueueAnswer(bool yes) { state_->queued_answers.push_back(yes); }

// --- randomness ---

void MemoryPlatform::SeedRandom(uint64_t seed) { state_->random_state = seed; }

void MemoryPlatform::QueueRandom(std::vector<double> values) {
  state_->queued_random.insert(state_->queued_random.end(), values.begin(), values.end());
}

}  // namespace mandor
