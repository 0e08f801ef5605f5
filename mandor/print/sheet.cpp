#include "mandor/print/sheet.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace mandor::print {

namespace {

constexpr double kDefaultDpi = 300.0;
// Largest sheet side: a PDF page is at most 200 inches (14 400 points).
constexpr double kMaxSheetCm = 500.0;

bool Positive(double v) { return std::isfinite(v) && v > 0; }

std::string Cm(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", v);
  return text;
}

}  // namespace

Calibration CalibrationOf(mandor::Mandor& document, const std::optional<Offset>& offset,
                          std::vector<std::string>& warnings) {
  Calibration calibration;
  if (offset) {
    calibration.offset = *offset;
    calibration.offset_overridden = true;
  } else {
    calibration.offset = {document.imprimante_OrigineX_cm, document.imprimante_OrigineY_cm};
  }
  if (!std::isfinite(calibration.offset.x_cm) || !std::isfinite(calibration.offset.y_cm)) {
    warnings.push_back("the printer offset is not a number: no offset is used");
    calibration.offset = {};
  }

  const int type = document.Type_calage;
  if (type != 1 && type != 2) {
    if (type != 0) {
      warnings.push_back("unknown calibration type " + std::to_string(type) +
                         ": pixels are placed through the page resolution");
    }
    return calibration;
  }
  if (!document.CalculerParamètresCalage()) {
    warnings.push_back("the calibration (type " + std::to_string(type) +
                       ") cannot be computed: pixels are placed through the page resolution");
    return calibration;
  }
  const double rx = document.résolution_papier_largeur, ry = document.résolution_papier_hauteur;
  const double ox = document.image_OrigineX_cm, oy = document.image_OrigineY_cm;
  if (!Positive(rx) || !Positive(ry) || !std::isfinite(ox) || !std::isfinite(oy)) {
    warnings.push_back("the calibration (type " + std::to_string(type) + ") gives " + Cm(rx) + " x " + Cm(ry) +
                       " pixels per cm: pixels are placed through the page resolution");
    return calibration;
  }
  calibration.type = type;
  calibration.pixels_per_cm_x = rx;
  calibration.pixels_per_cm_y = ry;
  calibration.origin_x_cm = ox;
  calibration.origin_y_cm = oy;
  return calibration;
}

PaperMapping MappingOf(const Calibration& calibration, const mandor::CPage& page) {
  PaperMapping mapping;
  if (calibration.type == 1 || calibration.type == 2) {
    mapping.pixels_per_cm_x = calibration.pixels_per_cm_x;
    mapping.pixels_per_cm_y = calibration.pixels_per_cm_y;
    mapping.origin_x_cm = calibration.origin_x_cm;
    mapping.origin_y_cm = calibration.origin_y_cm;
  } else {
    const double h_dpi = page.hResolution() > 0 ? page.hResolution() : kDefaultDpi;
    const double v_dpi = page.vResolution() > 0 ? page.vResolution() : kDefaultDpi;
    mapping.pixels_per_cm_x = h_dpi / 2.54;
    mapping.pixels_per_cm_y = v_dpi / 2.54;
  }
  mapping.origin_x_cm += calibration.offset.x_cm;
  mapping.origin_y_cm += calibration.offset.y_cm;
  return mapping;
}

Sheet SheetOf(const mandor::Mandor& document, const mandor::CPage& page, std::vector<std::string>& warnings) {
  Sheet sheet;
  const double w = document.feuille_cm_largeur, h = document.feuille_cm_hauteur;
  if (Positive(w) && Positive(h) && w <= kMaxSheetCm && h <= kMaxSheetCm) {
    sheet.width_cm = w;
    sheet.height_cm = h;
    sheet.from = Sheet::From::kMarking;
  } else {
    if (w != 0 || h != 0) {
      warnings.push_back("the sheet size " + Cm(w) + " x " + Cm(h) +
                         " cm of the marking is not usable: the page's own size, else A4, is used");
    }
    const double dpi_x = page.hResolution(), dpi_y = page.vResolution();
    const double page_w = page.Width / dpi_x * 2.54, page_h = page.Height / dpi_y * 2.54;
    if (dpi_x > 0 && dpi_y > 0 && Positive(page_w) && Positive(page_h) && page_w <= kMaxSheetCm &&
        page_h <= kMaxSheetCm) {
      sheet.width_cm = page_w;
      sheet.height_cm = page_h;
      sheet.from = Sheet::From::kPage;
      return sheet;  // the page image has its own orientation
    }
  }
  const bool landscape = sheet.width_cm > sheet.height_cm;
  if ((document.Orientation == 2 && !landscape) || (document.Orientation == 1 && landscape)) {
    std::swap(sheet.width_cm, sheet.height_cm);
  }
  return sheet;
}

PagePixels PixelSizeOf(const mandor::Mandor& document, const mandor::CPage& page) {
  PagePixels size;
  if (Positive(page.Width) && Positive(page.Height) && page.Width >= 1 && page.Height >= 1) {
    size = {page.Width, page.Height, PagePixels::From::kPage};
  } else if (document.image_pixels_largeur > 0 && document.image_pixels_hauteur > 0) {
    size = {static_cast<double>(document.image_pixels_largeur), static_cast<double>(document.image_pixels_hauteur),
            PagePixels::From::kDocument};
  } else {
    const double h_dpi = page.hResolution() > 0 ? page.hResolution() : kDefaultDpi;
    const double v_dpi = page.vResolution() > 0 ? page.vResolution() : kDefaultDpi;
    size = {std::round(21.0 / 2.54 * h_dpi), std::round(29.7 / 2.54 * v_dpi), PagePixels::From::kA4};
  }
  return size;
}

}  // namespace mandor::print
