// Where a page's pixels fall on the printed sheet, and how large the sheet
// is. docs/print.md gives the formulas with examples.
//
// Calibration type 1 (sheet size) and 2 (two reference points) map image
// pixel p to the paper position image_Origine_cm + p / résolution_papier, with
// the resolutions and origins Mandor::CalculerParamètresCalage derives; any
// other type maps pixels through the page's own resolution in dots per inch
// from the sheet's top-left corner. The printer offset (the marking's
// imprimante_OrigineX_cm / imprimante_OrigineY_cm, or one given for this
// print) is then added: a positive X moves everything right, a positive Y
// moves it down.
//
// Threading: none; plain values.
#ifndef MANDOR_PRINT_SHEET_H_
#define MANDOR_PRINT_SHEET_H_

#include <optional>
#include <string>
#include <vector>

#include "mandor/mandor.h"

namespace mandor::print {

constexpr double kPointsPerCm = 72.0 / 2.54;

struct Offset {
  double x_cm = 0;
  double y_cm = 0;
};

// The calibration of a document, computed once for all its pages.
struct Calibration {
  int type = 0;  // the type in force: 1, 2, or 0 (through the page resolution)
  double origin_x_cm = 0, origin_y_cm = 0;           // paper position of pixel (0, 0)
  double pixels_per_cm_x = 0, pixels_per_cm_y = 0;  // types 1 and 2
  Offset offset;                                     // printer offset in force
  bool offset_overridden = false;                    // given for this print
};

// Computes the document's calibration (types 1 and 2 through
// CalculerParamètresCalage, which updates the document's derived values).
// A calibration that cannot be computed (a sheet size of 0 with type 1,
// resolutions of 0) or an unknown type falls back to type 0, with a warning
// appended. `offset`, when given, replaces the marking's printer offset.
Calibration CalibrationOf(mandor::Mandor& document, const std::optional<Offset>& offset,
                          std::vector<std::string>& warnings);

// Pixel to paper mapping of one page, in cm from the sheet's top-left corner.
struct PaperMapping {
  double origin_x_cm = 0, origin_y_cm = 0;  // pixel (0, 0), printer offset included
  double pixels_per_cm_x = 1, pixels_per_cm_y = 1;

  double X(double pixel) const { return origin_x_cm + pixel / pixels_per_cm_x; }
  double Y(double pixel) const { return origin_y_cm + pixel / pixels_per_cm_y; }
};

// The mapping of `page` under `calibration` (type 0 divides by the page's
// resolution; a resolution of 0 is taken as 300 dpi).
PaperMapping MappingOf(const Calibration& calibration, const mandor::CPage& page);

struct Sheet {
  double width_cm = 21.0;
  double height_cm = 29.7;
  enum class From { kMarking, kPage, kA4 } from = From::kA4;
};

// The sheet of one page: the marking's feuille_cm_largeur x feuille_cm_hauteur
// when both are positive (and at most 500 cm, the largest PDF page), else the
// page image's own size at its resolution (likewise), else A4. Orientation 1 (portrait) or 2 (landscape) turns a sheet from the
// marking or A4 so that its long side runs down or across; a page's own size
// keeps its shape. A sheet size given but not usable adds a warning.
Sheet SheetOf(const mandor::Mandor& document, const mandor::CPage& page, std::vector<std::string>& warnings);

// The size of a page's image in pixels: the page's own Width x Height, else
// the document's image_pixels_largeur x image_pixels_hauteur, else an A4
// sheet at the page's resolution (a text marking does not store page sizes).
struct PagePixels {
  double width = 0, height = 0;
  enum class From { kPage, kDocument, kA4 } from = From::kA4;
};
PagePixels PixelSizeOf(const mandor::Mandor& document, const mandor::CPage& page);

}  // namespace mandor::print

#endif  // MANDOR_PRINT_SHEET_H_
