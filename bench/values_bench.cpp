// mandor_values_bench: how the cost of computing a marking's formulas grows
// with its number of fields. For each size it generates the benchmark's
// catalogue (bench/generator.h), loads it, and times, in processor time:
//   compute:  ValueBook::Compute of every document (reading each field's
//             cell, computing the formulas in dependency order, writing the
//             results into the cells);
//   formulas: ComputeFormulas alone on the same fields, already read.
// Prints a Markdown table; the median of --runs runs (default 3).
//
//   mandor_values_bench [--sizes 2000,20000,200000] [--runs N] [--data DIR]

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "bench/generator.h"
#include "mandor/mandor.h"
#include "mandor/testing/memory_platform.h"
#include "mandor/values/values.h"

namespace {

double CpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<long> sizes = {2000, 20000, 200000};
  int runs = 3;
  std::string data = "values-bench-data";
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string arg = argv[i];
    if (arg == "--sizes") {
      sizes.clear();
      std::string list = argv[i + 1];
      for (size_t start = 0; start < list.size();) {
        size_t end = list.find(',', start);
        if (end == std::string::npos) end = list.size();
        sizes.push_back(std::atol(list.substr(start, end - start).c_str()));
        start = end + 1;
      }
    } else if (arg == "--runs") {
      runs = std::max(1, std::atoi(argv[i + 1]));
    } else if (arg == "--data") {
      data = argv[i + 1];
    }
  }
  std::filesystem::create_directories(data);
  mandor::SetPlatform(std::make_shared<mandor::MemoryPlatform>(mandor::Locale::Comma()));

  std::cout << "| fields | formulas | compute (s) | per field (µs) | formulas alone (s) |\n"
            << "|---:|---:|---:|---:|---:|\n";
  for (long size : sizes) {
    const std::string path = "/bench/catalogue-" + std::to_string(size) + ".xml";
    auto& platform = static_cast<mandor::MemoryPlatform&>(mandor::CurrentPlatform());
    platform.SetFileBytes(path, mandor_bench::GenerateCatalogue(size));
    auto catalogue = std::make_shared<mandor::cMarquage>();
    if (!catalogue->XML_ReadCNF(path)) {
      std::cerr << "cannot load " << path << "\n";
      return 1;
    }
    long fields = 0;
    std::vector<double> compute_times, formula_times;
    size_t formulas = 0;
    for (int run = 0; run < runs; ++run) {
      auto book = mandor::values::ValueBook::ForCatalogue(catalogue);
      const double start = CpuSeconds();
      const auto computed = book->Compute();
      compute_times.push_back(CpuSeconds() - start);
      formulas = computed.size();

      // The engine alone, on the fields of every document as Compute reads them.
      std::vector<std::vector<mandor::values::FormulaField>> inputs;
      fields = 0;
      for (const auto& document : book->Documents()) {
        std::vector<mandor::values::FormulaField> list;
        for (const auto& value : book->Values(document)) {
          const auto& field = value.field;
          const auto ruler = field->oRegleV();
          list.push_back({field->Nom(), field->Formule(), value.decimals, field->Page,
                          ruler ? ruler->Nom : field->NomRegleV(), value.text, value.number});
        }
        fields += static_cast<long>(list.size());
        inputs.push_back(std::move(list));
      }
      const double engine_start = CpuSeconds();
      for (const auto& list : inputs) mandor::values::ComputeFormulas(list, {});
      formula_times.push_back(CpuSeconds() - engine_start);
    }
    const double compute = Median(compute_times);
    std::printf("| %ld | %zu | %.3f | %.2f | %.3f |\n", fields, formulas, compute,
                compute / static_cast<double>(std::max(1L, fields)) * 1e6, Median(formula_times));
  }
  return 0;
}
