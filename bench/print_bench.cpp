// Processor time of printing a 100-page document (30 fields a page, like a
// full detail estimate) in each mode, over a 100-page PDF scan for
// --over-image. Built with -DMANDOR_BUILD_BENCH=ON; the figures go in
// BENCHMARKS.md.
#include <cairo-pdf.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "mandor/print/print.h"
#include "mandor/testing/memory_platform.h"
#include "tests/print/print_test_util.h"

namespace {

using mandor::print::PrintMode;

double CpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

}  // namespace

int main(int argc, char** argv) {
  const int pages = argc > 1 ? std::stoi(argv[1]) : 100;
  auto platform = std::make_shared<mandor::MemoryPlatform>(mandor::Locale::Comma());
  mandor::ScopedPlatform scope(platform);
  auto d = mandor::print::test::MakeDocument(pages);
  d->Répertoire_Document = "/bench/";
  d->Type_calage = 2;
  d->X1_pixel = 236, d->Y1_pixel = 354, d->X1_cm = 2, d->Y1_cm = 3;
  d->X2_pixel = 2244, d->Y2_pixel = 3189, d->X2_cm = 19, d->Y2_cm = 27;
  const char* columns[] = {"Désignation", "Qté", "PU"};
  for (int page = 1; page <= pages; ++page) {
    for (int row = 0; row < 10; ++row) {
      for (int c = 0; c < 3; ++c) {
        std::string name = "P";  // appended: GCC 12 at -O3 warns falsely on "P" + std::string
        name += std::to_string(page) + "L" + std::to_string(row) + "_" + columns[c];
        const float left = c == 0 ? 260.0f : c == 1 ? 1520.0f : 1765.0f;
        const float right = c == 0 ? 1370.0f : c == 1 ? 1750.0f : 2065.0f;
        auto field = mandor::print::test::AddField(*d, page, name, left, 900.0f + row * 130, right,
                                                   946.0f + row * 130,
                                                   c == 0 ? "Bloc-porte âme pleine 83 x 204" : std::to_string(row * 7 + c) + ",5");
        field->FontName("Arial");
        field->FontSize(10);
        if (c != 0) {
          field->Décimales(2);
          field->Type_Champ(1);
          field->Alignement(1);
        }
      }
    }
  }
  platform->WriteFileBytes("/bench/essai.det.pdf", mandor::print::test::MakePdfScan(pages));

  const std::pair<PrintMode, const char*> modes[] = {
      {PrintMode::kOnForm, "on the form"}, {PrintMode::kOverImage, "over a PDF scan"},
      {PrintMode::kTestSheet, "test sheet"}};
  for (const auto& [mode, label] : modes) {
    mandor::print::PrintOptions options;
    options.mode = mode;
    mandor::print::PrintReport report;
    const double start = CpuSeconds();
    const std::string pdf = mandor::print::PrintToPdfBytes(*d, options, report);
    const double seconds = CpuSeconds() - start;
    std::printf("%-16s %3d pages, %5d values: %6.3f s processor time, %8zu bytes\n", label, report.pages,
                report.fields, seconds, pdf.size());
  }
  // Over PNG scans, one per page (the sample's scan of 827 x 1170 pixels).
  const std::string png = mandor::test_util::ReadBytes(mandor::print::test::Sample("dqe-menuiseries.det-1.png"));
  for (int page = 1; page <= pages; ++page) {
    platform->WriteFileBytes("/bench/essai.det-" + std::to_string(page) + ".png", png);
  }
  mandor::print::PrintOptions options;
  options.mode = PrintMode::kOverImage;
  mandor::print::PrintReport report;
  const double start = CpuSeconds();
  const std::string pdf = mandor::print::PrintToPdfBytes(*d, options, report);
  std::printf("%-16s %3d pages, %5d values: %6.3f s processor time, %8zu bytes\n", "over PNG scans", report.pages,
              report.fields, CpuSeconds() - start, pdf.size());
  return 0;
}
