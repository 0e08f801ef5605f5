// mandor_bench: times loading and saving of generated markings against the
// cost of merely reading or writing the same files, checks that the library
// still makes the same model and the same bytes of them, and prints the
// figures as Markdown.
//
// Every measurement runs in a child process forked from this small driver,
// so that timings and peak resident memory (the child's ru_maxrss, from
// wait4) never mix. Each figure is the median of several runs; the
// operation and its floor alternate within a run.

#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <time.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <pugixml.hpp>

#include "bench/digest.h"
#include "bench/generator.h"
#include "cli/cli_platform.h"
#include "mandor/mandor.h"

namespace mandor_bench {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// --- options ---

struct Options {
  std::vector<long> sizes = {1000, 20000, 200000};
  int runs = 0;  // 0: 5 up to 20 000 fields, 3 beyond
  std::string data_dir = "bench-data";
  std::string digests_file;
  std::string out_file;
  std::string label = "current code";
  bool record = false;
  int timeout_seconds = 600;
};

[[noreturn]] void Usage(const char* message) {
  std::fprintf(stderr,
               "mandor_bench: %s\n"
               "usage: mandor_bench [--sizes N,N,...] [--runs N] [--data DIR] [--digests FILE] [--record]\n"
               "                    [--out FILE] [--label TEXT] [--timeout SECONDS]\n",
               message);
  std::exit(2);
}

Options ParseOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) Usage(("missing value after " + arg).c_str());
      return argv[++i];
    };
    if (arg == "--sizes") {
      options.sizes.clear();
      std::stringstream list(value());
      for (std::string item; std::getline(list, item, ',');) {
        const long size = std::atol(item.c_str());
        if (size < 100) Usage("sizes are numbers of fields, at least 100");
        options.sizes.push_back(size);
      }
    } else if (arg == "--runs") {
      options.runs = std::atoi(value().c_str());
      if (options.runs < 1) Usage("--runs needs a positive number");
    } else if (arg == "--data") {
      options.data_dir = value();
    } else if (arg == "--digests") {
      options.digests_file = value();
    } else if (arg == "--record") {
      options.record = true;
    } else if (arg == "--out") {
      options.out_file = value();
    } else if (arg == "--label") {
      options.label = value();
    } else if (arg == "--timeout") {
      options.timeout_seconds = std::atoi(value().c_str());
    } else {
      Usage(("unknown argument " + arg).c_str());
    }
  }
  return options;
}

// --- child processes ---

struct Sample {
  bool ok = false;
  bool timed_out = false;
  double seconds = 0;
  long peak_kib = 0;
  std::string text;  // what the child reported besides its time
};

// Runs work in a forked child. work returns the seconds it measured (a
// negative number when it failed) and may fill `text`, which travels back
// through a pipe.
Sample InChild(const std::function<double(std::string& text)>& work, int timeout_seconds) {
  int fds[2];
  if (pipe(fds) != 0) {
    std::perror("pipe");
    std::exit(1);
  }
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) {
    std::perror("fork");
    std::exit(1);
  }
  if (pid == 0) {
    close(fds[0]);
    std::string text;
    double seconds = -1;
    try {
      seconds = work(text);
    } catch (const std::exception& e) {
      text = std::string("exception: ") + e.what();
    }
    const std::string message = std::to_string(seconds) + "\n" + text;
    size_t done = 0;
    while (done < message.size()) {
      const ssize_t n = write(fds[1], message.data() + done, message.size() - done);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    close(fds[1]);
    _exit(0);
  }
  close(fds[1]);
  Sample sample;
  std::string message;
  const auto deadline = Clock::now() + std::chrono::seconds(timeout_seconds);
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      kill(pid, SIGKILL);
      sample.timed_out = true;
      break;
    }
    pollfd pfd{fds[0], POLLIN, 0};
    if (poll(&pfd, 1, static_cast<int>(std::min<long long>(left, 1000))) <= 0) continue;
    char buffer[4096];
    const ssize_t n = read(fds[0], buffer, sizeof buffer);
    if (n <= 0) break;
    message.append(buffer, static_cast<size_t>(n));
  }
  close(fds[0]);
  int status = 0;
  rusage usage{};
  wait4(pid, &status, 0, &usage);
  sample.peak_kib = usage.ru_maxrss;
  if (sample.timed_out) return sample;
  const size_t newline = message.find('\n');
  if (newline == std::string::npos) {
    sample.text = "child died (status " + std::to_string(status) + ")";
    return sample;
  }
  sample.seconds = std::atof(message.substr(0, newline).c_str());
  sample.text = message.substr(newline + 1);
  sample.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0 && sample.seconds >= 0;
  return sample;
}

// The processor time (user and system) f takes. Wall-clock time would count
// whatever else the machine runs meanwhile; processor time does not, and
// includes the kernel's part of reading and writing files.
double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

template <class F>
double Timed(F&& f) {
  const double start = CpuSeconds();
  f();
  return CpuSeconds() - start;
}

// --- the library in the child ---

// The platform of a benchmark child: the real file system, French regional
// settings (those of the generated files), messages recorded, not printed.
std::shared_ptr<mandor_cli::CliPlatform> InstallPlatform() {
  static std::ostringstream sink;
  auto platform = std::make_shared<mandor_cli::CliPlatform>(sink, false);
  platform->SetLocale(mandor::Locale::Comma());
  mandor::SetPlatform(platform);
  return platform;
}

struct Files {
  long size = 0;
  std::string text_name;       // Nom_Document of the text marking ("bench-20000.det")
  std::string text_path;       // its ".xnf"
  std::string text_saved;      // what SauvegarderMarquageEx wrote, kept for the write floor
  std::string catalogue;       // the generated catalogue
  std::string catalogue_work;  // a copy the save writes into
  std::string catalogue_copy;  // where the pugixml floor saves
};

Files FilesFor(long size) {
  Files files;
  const std::string n = std::to_string(size);
  files.size = size;
  files.text_name = "bench-" + n + ".det";
  files.text_path = "./" + files.text_name + ".xnf";
  files.text_saved = "./saved-" + n + ".det.xnf";
  files.catalogue = "./Bench-" + n + ".xml";
  files.catalogue_work = "./work-" + n + ".xml";
  files.catalogue_copy = "./pugi-" + n + ".xml";
  return files;
}

std::shared_ptr<mandor::Mandor> TextDocument(const std::string& name) {
  auto document = std::make_shared<mandor::Mandor>();
  document->Répertoire_Document = "./";
  document->Nom_Document(name);
  return document;
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path);
}

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

std::string BytesDigest(const std::string& path) {
  Digest digest;
  digest.Add(ReadBytes(path));
  return digest.Hex();
}

// --- the four operations and their floors ---

enum Operation { kTextRead, kCatalogueRead, kCatalogueSave, kTextSave, kOperationCount };

const char* const kOperationName[] = {"`RestaurerMarquageEx`", "`XML_ReadCNF`", "`SauvegarderMarquageXml`",
                                      "`SauvegarderMarquageEx`"};
const char* const kFloorName[] = {"read its lines", "pugixml `load_file`", "pugixml load + save",
                                  "write as many lines"};
const double kTarget[] = {5, 5, 4, 4};

double RunOperation(Operation op, const Files& files) {
  InstallPlatform();
  switch (op) {
    case kTextRead: {
      auto document = TextDocument(files.text_name);
      int16_t result = 0;
      const double t = Timed([&] { result = document->RestaurerMarquageEx(); });
      return result == -1 ? t : -1;
    }
    case kCatalogueRead: {
      auto catalogue = std::make_shared<mandor::cMarquage>();
      std::shared_ptr<mandor::cMarquage> result;
      const double t = Timed([&] { result = catalogue->XML_ReadCNF(files.catalogue); });
      return result ? t : -1;
    }
    case kCatalogueSave: {
      fs::copy_file(files.catalogue, files.catalogue_work, fs::copy_options::overwrite_existing);
      auto catalogue = std::make_shared<mandor::cMarquage>();
      if (!catalogue->XML_ReadCNF(files.catalogue_work)) return -1;
      std::shared_ptr<mandor::Mandor> document = catalogue->Item(1L);
      bool saved = false;
      const double t = Timed([&] { saved = document->SauvegarderMarquageXml(document); });
      return saved ? t : -1;
    }
    case kTextSave: {
      auto document = TextDocument(files.text_name);
      if (document->RestaurerMarquageEx() != -1) return -1;
      document->Nom_Document("out-" + std::to_string(files.size) + ".det");
      fs::remove(document->Répertoire_Document + document->Nom_Document() + ".xnf");
      int16_t result = -1;
      const double t = Timed([&] { result = document->SauvegarderMarquageEx(false); });
      return result == 0 ? t : -1;
    }
    case kOperationCount:
      break;
  }
  return -1;
}

double RunFloor(Operation op, const Files& files) {
  InstallPlatform();
  mandor::Platform& platform = mandor::CurrentPlatform();
  switch (op) {
    case kTextRead: {
      size_t count = 0;
      const double t = Timed([&] {
        std::unique_ptr<mandor::TextFile> file = platform.OpenTextFile(files.text_path, mandor::OpenMode::kInput);
        while (!file->AtEnd()) count += file->ReadLine().size();
        file->Close();
      });
      return count > 0 ? t : -1;
    }
    case kCatalogueRead: {
      pugi::xml_document document;
      bool loaded = false;
      const double t = Timed([&] { loaded = document.load_file(files.catalogue.c_str()); });
      return loaded ? t : -1;
    }
    case kCatalogueSave: {
      pugi::xml_document document;
      bool done = false;
      const double t = Timed([&] {
        done = document.load_file(files.catalogue.c_str()) && document.save_file(files.catalogue_copy.c_str());
      });
      return done ? t : -1;
    }
    case kTextSave: {
      std::vector<std::string> lines;
      {
        std::unique_ptr<mandor::TextFile> file = platform.OpenTextFile(files.text_saved, mandor::OpenMode::kInput);
        while (!file->AtEnd()) lines.push_back(file->ReadLine());
      }
      const std::string path = "./floor-" + std::to_string(files.size) + ".xnf";
      const double t = Timed([&] {
        std::unique_ptr<mandor::TextFile> file = platform.OpenTextFile(path, mandor::OpenMode::kOutput);
        for (const std::string& line : lines) file->WriteLine(line);
        file->Close();
      });
      return lines.empty() ? -1 : t;
    }
    case kOperationCount:
      break;
  }
  return -1;
}

// --- digests ---

using Digests = std::map<std::string, std::string>;  // "kind size" -> hex

// The digests of what the library makes of the size's inputs: the model it
// loads from each file and the bytes it saves. Also leaves the text save
// the write floor copies.
double ComputeDigests(const Files& files, std::string& text) {
  auto platform = InstallPlatform();
  const std::string n = std::to_string(files.size);
  {
    auto document = TextDocument(files.text_name);
    const int16_t result = document->RestaurerMarquageEx();
    Digest digest;
    digest.Add(std::to_string(result));
    AddDocument(digest, *document);
    AddMessages(digest, platform->messages());
    text += "text-model " + n + " " + digest.Hex() + "\n";
    document->Nom_Document("saved-" + n + ".det");
    fs::remove(files.text_saved);
    const int16_t saved = document->SauvegarderMarquageEx(false);
    text += "text-save " + n + " " + (saved == 0 ? BytesDigest(files.text_saved) : "failed") + "\n";
  }
  {
    fs::copy_file(files.catalogue, files.catalogue_work, fs::copy_options::overwrite_existing);
    auto catalogue = std::make_shared<mandor::cMarquage>();
    const bool loaded = catalogue->XML_ReadCNF(files.catalogue_work) != nullptr;
    Digest digest;
    digest.Add(loaded ? "loaded" : "failed");
    AddCatalogue(digest, *catalogue);
    for (const auto& document : *catalogue) AddDocument(digest, *document);
    AddMessages(digest, platform->messages());
    text += "xml-model " + n + " " + digest.Hex() + "\n";
    std::shared_ptr<mandor::Mandor> first = catalogue->Count() > 0 ? catalogue->Item(1L) : nullptr;
    const bool saved = first && first->SauvegarderMarquageXml(first);
    text += "xml-save " + n + " " + (saved ? BytesDigest(files.catalogue_work) : "failed") + "\n";
  }
  return 0;
}

Digests ParseDigests(const std::string& text) {
  Digests digests;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string kind, size, hex;
    if (fields >> kind >> size >> hex) digests[kind + " " + size] = hex;
  }
  return digests;
}

void WriteDigests(const std::string& path, const Digests& digests) {
  std::ofstream out(path, std::ios::trunc);
  out << "# Digests of the model each generated input loads into and of the bytes each save writes,\n"
         "# recorded by `mandor_bench --record` on the code before the loading and saving paths were\n"
         "# made linear. Every benchmark run recomputes them and fails when one differs.\n"
         "# kind size digest\n";
  for (const auto& [key, hex] : digests) out << key << " " << hex << "\n";
}

// --- machine ---

std::string FirstLineWith(const std::string& path, const std::string& key) {
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    if (line.rfind(key, 0) == 0) {
      const size_t colon = line.find(':');
      std::string value = colon == std::string::npos ? line : line.substr(colon + 1);
      value.erase(0, value.find_first_not_of(" \t"));
      return value;
    }
  }
  return "unknown";
}

std::string MachineDescription() {
  std::ostringstream out;
  utsname name{};
  uname(&name);
  char date[64];
  const std::time_t now = std::time(nullptr);
  std::strftime(date, sizeof date, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
  out << "- CPU: " << FirstLineWith("/proc/cpuinfo", "model name") << ", " << std::thread::hardware_concurrency()
      << " cores\n";
  out << "- Memory: " << FirstLineWith("/proc/meminfo", "MemTotal") << "\n";
  out << "- System: " << name.sysname << " " << name.release << " " << name.machine << "\n";
#if defined(__clang__)
  out << "- Compiler: Clang " << __clang_version__;
#else
  out << "- Compiler: GCC " << __VERSION__;
#endif
#ifdef NDEBUG
  out << ", optimised build\n";
#else
  out << ", build without NDEBUG\n";
#endif
  out << "- pugixml " << PUGIXML_VERSION / 1000 << "." << PUGIXML_VERSION % 1000 / 10 << "\n";
  out << "- Date: " << date << "\n";
  return out.str();
}

// --- formatting ---

std::string Seconds(const Sample& s, int timeout) {
  if (s.timed_out) return "> " + std::to_string(timeout) + " s";
  if (!s.ok) return "failed";
  char buffer[32];
  if (s.seconds < 1) {
    std::snprintf(buffer, sizeof buffer, "%.1f ms", s.seconds * 1000);
  } else {
    std::snprintf(buffer, sizeof buffer, "%.2f s", s.seconds);
  }
  return buffer;
}

std::string Ratio(double value, double target) {
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%.2f (%s %g)", value, value <= target ? "≤" : "> target", target);
  return buffer;
}

std::string Mebibytes(long kib) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f MiB", kib / 1024.0);
  return buffer;
}

Sample Median(std::vector<Sample> samples) {
  for (const Sample& s : samples) {
    if (!s.ok) return s;
  }
  std::sort(samples.begin(), samples.end(), [](const Sample& a, const Sample& b) { return a.seconds < b.seconds; });
  Sample median = samples[samples.size() / 2];
  for (const Sample& s : samples) median.peak_kib = std::max(median.peak_kib, s.peak_kib);
  return median;
}

int Main(int argc, char** argv) {
  const Options options = ParseOptions(argc, argv);
  const std::string digests_file =
      options.digests_file.empty() ? "" : fs::absolute(options.digests_file).string();
  const std::string out_file = options.out_file.empty() ? "" : fs::absolute(options.out_file).string();
  fs::create_directories(options.data_dir);
  fs::current_path(options.data_dir);

  Digests expected;
  if (!digests_file.empty() && fs::exists(digests_file)) expected = ParseDigests(ReadBytes(digests_file));
  Digests recorded = expected;
  bool digests_differ = false;
  std::ostringstream digest_report;  // the digests that are not the same as recorded
  int same_digests = 0;

  // The resident memory of a child that does nothing: subtracted from the
  // peaks so that they show what the operation itself used.
  const long idle_kib = InChild([](std::string&) { return 0.0; }, 60).peak_kib;

  std::map<long, std::vector<Sample>> ops, floors;  // size -> per operation
  for (const long size : options.sizes) {
    const Files files = FilesFor(size);
    std::fprintf(stderr, "mandor_bench: %ld fields: generating\n", size);
    Sample generated = InChild(
        [&](std::string&) {
          WriteBytes(files.text_path, GenerateTextMarking(size));
          WriteBytes(files.catalogue, GenerateCatalogue(size));
          return 0.0;
        },
        options.timeout_seconds);
    if (!generated.ok) {
      std::fprintf(stderr, "mandor_bench: cannot generate the inputs: %s\n", generated.text.c_str());
      return 1;
    }

    std::fprintf(stderr, "mandor_bench: %ld fields: checking digests\n", size);
    Sample computed = InChild([&](std::string& text) { return ComputeDigests(files, text); },
                              options.timeout_seconds);
    if (!computed.ok) {
      digest_report << "- " << size << " fields: the digests could not be computed ("
                    << (computed.timed_out ? "timed out" : computed.text) << ")\n";
      digests_differ = true;
    }
    for (const auto& [key, hex] : ParseDigests(computed.text)) {
      const auto found = expected.find(key);
      if (found == expected.end()) {
        digest_report << "- `" << key << "`: " << hex << " (no recorded digest)\n";
      } else if (found->second != hex) {
        digest_report << "- `" << key << "`: **DIFFERS**: " << hex << ", recorded " << found->second << "\n";
        std::fprintf(stderr, "mandor_bench: DIGEST DIFFERS for %s: %s, recorded %s\n", key.c_str(), hex.c_str(),
                     found->second.c_str());
        digests_differ = true;
      } else {
        ++same_digests;
      }
      recorded[key] = hex;
    }

    const int runs = options.runs > 0 ? options.runs : size <= 20000 ? 5 : 3;
    for (int op = 0; op < kOperationCount; ++op) {
      std::fprintf(stderr, "mandor_bench: %ld fields: %s\n", size, kOperationName[op]);
      std::vector<Sample> op_samples, floor_samples;
      for (int run = 0; run < runs; ++run) {
        floor_samples.push_back(InChild([&](std::string&) { return RunFloor(Operation(op), files); },
                                        options.timeout_seconds));
        op_samples.push_back(InChild([&](std::string&) { return RunOperation(Operation(op), files); },
                                     options.timeout_seconds));
        // A run that timed out will time out again: one is enough.
        if (op_samples.back().timed_out || !op_samples.back().ok) break;
      }
      ops[size].push_back(Median(op_samples));
      floors[size].push_back(Median(floor_samples));
    }
  }

  std::ostringstream md;
  md << "### " << options.label << "\n\n" << MachineDescription() << "\n";
  md << "Times are processor time (user and system) of the operation alone, medians of " << (options.runs > 0 ? std::to_string(options.runs) : "5 (3 beyond 20 000 fields)")
     << " runs; peak memory is the resident set of the child process that ran the operation, less that of an idle "
        "child ("
     << Mebibytes(idle_kib) << ").\n\n";
  md << "| fields | operation | time | floor | floor time | ratio (target) | peak memory |\n";
  md << "|---:|---|---:|---|---:|---:|---:|\n";
  for (const long size : options.sizes) {
    for (int op = 0; op < kOperationCount; ++op) {
      const Sample& o = ops[size][op];
      const Sample& f = floors[size][op];
      md << "| " << size << " | " << kOperationName[op] << " | " << Seconds(o, options.timeout_seconds) << " | "
         << kFloorName[op] << " | " << Seconds(f, options.timeout_seconds) << " | "
         << (o.ok && f.ok && f.seconds > 0 ? Ratio(o.seconds / f.seconds, kTarget[op]) : "n/a") << " | "
         << (o.ok ? Mebibytes(o.peak_kib - idle_kib) : "n/a") << " |\n";
    }
  }
  md << "\n";
  if (ops.count(20000) && ops.count(200000)) {
    md << "Growth from 20 000 to 200 000 fields (target ≤ 12):\n\n| operation | time ratio |\n|---|---:|\n";
    for (int op = 0; op < kOperationCount; ++op) {
      const Sample& small = ops[20000][op];
      const Sample& large = ops[200000][op];
      md << "| " << kOperationName[op] << " | "
         << (small.ok && large.ok ? Ratio(large.seconds / small.seconds, 12) : "n/a") << " |\n";
    }
    md << "\n";
  }
  if (!options.sizes.empty()) {
    const long largest = options.sizes.back();
    const Sample& loaded = ops[largest][kCatalogueRead];
    const Sample& dom = floors[largest][kCatalogueRead];
    if (loaded.ok && dom.ok) {
      const long net_loaded = loaded.peak_kib - idle_kib, net_dom = dom.peak_kib - idle_kib;
      md << "Peak memory of `XML_ReadCNF` of the " << largest << "-field catalogue: " << Mebibytes(net_loaded)
         << "; pugixml's DOM of it alone: " << Mebibytes(net_dom) << "; ratio "
         << Ratio(static_cast<double>(net_loaded) / static_cast<double>(net_dom), 3) << ".\n\n";
    }
  }
  md << "Digests: " << same_digests << " the same as recorded in bench/expected-digests.txt"
     << (digest_report.str().empty() ? ".\n" : "; the others:\n\n" + digest_report.str()) << "\n";

  if (out_file.empty()) {
    std::cout << md.str();
  } else {
    WriteBytes(out_file, md.str());
  }
  if (options.record && !digests_file.empty()) WriteDigests(digests_file, recorded);
  if (digests_differ && !options.record) {
    std::fprintf(stderr, "mandor_bench: FAILED: the library no longer makes the same model or bytes\n");
    return 1;
  }
  return 0;
}

}  // namespace mandor_bench

int main(int argc, char** argv) { return mandor_bench::Main(argc, argv); }
