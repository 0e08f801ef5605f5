#include "cli/check_cmd.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "cli/json_dump.h"
#include "cli/marking.h"
#include "cli/output.h"
#include "mandor/util/internal/text.h"

namespace mandor_cli {

namespace fs = std::filesystem;
using mandor::Mandor;

namespace {

bool IsMarkingFile(const fs::path& path) {
  const std::string ending = mandor::LowerCase(path.extension().string());
  return ending == ".xnf" || ending == ".cnf" || ending == ".xml";
}

// The line "[i/n] checking PATH (12.5 MB)... 3 s" on standard error, redrawn
// every second while a file loads, and erased at the end. Only on a
// terminal: a pipe or a file gets no progress.
class Progress {
 public:
  Progress() : enabled_(::isatty(STDERR_FILENO) == 1) {}
  ~Progress() {
    Stop();
    if (enabled_) Write("\r\x1b[K");
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Start(size_t index, size_t count, const std::string& path) {
    if (!enabled_) return;
    Stop();
    std::error_code ec;
    const auto size = fs::file_size(path, ec);
    char megabytes[32] = "";
    if (!ec) std::snprintf(megabytes, sizeof megabytes, " (%.1f MB)", static_cast<double>(size) / 1e6);
    // Control characters of the name are shown escaped, as everywhere else.
    label_ = "[" + std::to_string(index) + "/" + std::to_string(count) + "] checking " + PrintableText(path) +
             megabytes + "...";
    Write("\r\x1b[K" + label_);
    stop_ = false;
    ticker_ = std::thread([this] { Tick(); });
  }

  void Stop() {
    if (!ticker_.joinable()) return;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    ticker_.join();
  }

 private:
  void Tick() {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_for(lock, std::chrono::seconds(1), [this] { return stop_; })) {
      const auto seconds =
          std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start).count();
      Write("\r\x1b[K" + label_ + " " + std::to_string(seconds) + " s");
    }
  }

  // Straight to the descriptor: the progress line is the program's own
  // text, with its carriage returns, not data to escape.
  static void Write(const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
      const ssize_t n = ::write(STDERR_FILENO, text.data() + done, text.size() - done);
      if (n <= 0) return;
      done += static_cast<size_t>(n);
    }
  }

  bool enabled_;
  std::string label_;
  std::thread ticker_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_ = false;
};

struct FileReport {
  bool loaded = false;
  size_t warnings = 0;
};

FileReport CheckFile(const std::string& path, const Options& options, std::ostream& out) {
  CliPlatform* platform = CurrentCliPlatform();
  const size_t messages_before = platform ? platform->messages().size() : 0;
  const Marking marking = OpenMarking(path);
  std::vector<std::shared_ptr<Mandor>> documents;
  std::string failure = marking.failure;
  bool loaded = marking.loaded;
  if (loaded) {
    if (options.doc_id.empty() || marking.kind != MarkingKind::kCatalogue) {
      documents = marking.documents;
    } else {
      for (const std::shared_ptr<Mandor>& document : marking.documents) {
        if (mandor::EqualsIgnoreCase(document->Id, options.doc_id)) documents.push_back(document);
      }
      if (documents.empty()) {
        loaded = false;
        failure = "no document " + Quoted(options.doc_id);
      }
    }
  }
  long pages = 0;
  size_t fields = 0;
  std::vector<std::string> warnings;
  Json docs = Json::array();
  for (const std::shared_ptr<Mandor>& document : documents) {
    const long document_pages = document->Pages.Count();
    const size_t document_fields = AllFields(*document).size();
    pages += document_pages;
    fields += document_fields;
    for (std::string& warning : Warnings(*document)) warnings.push_back(std::move(warning));
    if (options.json) {
      docs.push_back({{"Id", document->Id},
                      {"Nom_Document", document->Nom_Document()},
                      {"Type_Document", document->Type_Document},
                      {"pages", document_pages},
                      {"fields", document_fields}});
    }
  }
  const size_t messages = (platform ? platform->messages().size() : 0) - messages_before;

  if (options.json) {
    Json json = Json::object();
    json["path"] = path;
    json["kind"] = KindName(marking.kind);
    json["loaded"] = loaded;
    json["failure"] = loaded || failure.empty() ? Json(nullptr) : Json(failure);
    json["documents"] = std::move(docs);
    json["warnings"] = warnings;
    Json shown = Json::array();
    if (platform) {
      for (size_t i = messages_before; i < platform->messages().size(); ++i) {
        shown.push_back(MessageJson(platform->messages()[i]));
      }
    }
    json["messages"] = std::move(shown);
    WriteJsonLine(out, json);
  } else if (!loaded) {
    out << path << ": NOT LOADED (" << KindName(marking.kind) << ")";
    if (!failure.empty()) out << ": " << failure;
    out << "\n";
  } else {
    out << path << ": loaded (" << KindName(marking.kind) << "): "
        << Count(static_cast<long>(documents.size()), "document") << ", " << Count(pages, "page") << ", "
        << Count(static_cast<long>(fields), "field") << "\n";
    for (const std::string& warning : warnings) out << "warning: " << warning << "\n";
  }
  if (!options.json && messages > 0) out << messages << " message(s) on standard error\n";
  CheckOutput(out);
  return {loaded, warnings.size()};
}

}  // namespace

std::vector<std::string> FilesToCheck(const std::vector<std::string>& paths) {
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    std::error_code ec;
    if (!fs::is_directory(path, ec)) {
      files.push_back(path);
      continue;
    }
    std::vector<std::string> found;
    for (fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied, ec), end;
         !ec && it != end; it.increment(ec)) {
      std::error_code type_ec;
      if (it->is_regular_file(type_ec) && IsMarkingFile(it->path())) found.push_back(it->path().string());
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
  }
  return files;
}

void AddCheckOptions(CLI::App& check, Options& options) {
  check.add_option("PATH", options.paths,
                   "Markings (.xnf, .cnf), catalogue workbooks, or folders searched for .xnf, .cnf and .xml files")
      ->required();
  check.add_option("--doc", options.doc_id, "Image ID (mn1, mn2, ...) of the document to check in each catalogue");
  check.add_flag("--json", options.json,
                 "One JSON object per file and line: path, kind, loaded, failure, documents, warnings, messages");
  check.add_flag("--strict", options.strict, "Warnings count as failures (exit status 1)");
}

int RunCheck(const Options& options, std::ostream& out) {
  const std::vector<std::string> files = FilesToCheck(options.paths);
  if (files.empty()) throw CommandFailure("no marking or catalogue found in " + options.paths.front());
  size_t not_loaded = 0, warnings = 0;
  {
    Progress progress;
    for (size_t i = 0; i < files.size(); ++i) {
      progress.Start(i + 1, files.size(), files[i]);
      const FileReport report = CheckFile(files[i], options, out);
      progress.Stop();
      if (!report.loaded) ++not_loaded;
      warnings += report.warnings;
    }
  }
  if (!options.json && files.size() > 1) {
    out << Count(static_cast<long>(files.size()), "file") << ": " << files.size() - not_loaded << " loaded, "
        << not_loaded << " not loaded, " << Count(static_cast<long>(warnings), "warning") << "\n";
  }
  return not_loaded > 0 || (options.strict && warnings > 0) ? 1 : 0;
}

}  // namespace mandor_cli
