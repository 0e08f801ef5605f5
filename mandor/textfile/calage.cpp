// Calibration ("calage"): relates the pixels of a scanned page image to
// centimetres on the paper sheet so that fields placed on the image print at
// the right place and size.
//
// Two kinds of calibration exist. Type 1 knows the sheet size and assumes the
// image covers it; type 2 knows two reference points, each given both on the
// paper (cm) and on the image (pixels). Both give a resolution in pixels per
// centimetre across and down the sheet, from which the default field width in
// pixels and the screen size of the document font follow.

#include <cmath>
#include <exception>
#include <string>

#include "mandor/model/mandor.h"
#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace {

// Resolution used when both reference points share a coordinate. It is the
// same constant CRegle uses to turn pixels into cm.
constexpr float kDefaultPixelsPerCm = 120.0f;

// Single-precision division with the classic run-time errors: 0 / 0 and a
// result beyond the float range overflow, any other division by 0 is a
// division by zero.
float Divide(float numerator, float denominator) {
  if (denominator == 0.0f) ThrowError(numerator == 0.0f ? kOverflow : kDivisionByZero);
  const float quotient = numerator / denominator;
  if (!std::isfinite(quotient)) ThrowError(kOverflow);
  return quotient;
}

float Subtract(float a, float b) {
  const float difference = a - b;
  if (!std::isfinite(difference)) ThrowError(kOverflow);
  return difference;
}

}  // namespace

bool Mandor::CalculerParamètresCalage() {
  try {
    switch (Type_calage) {
      case 1:  // sheet size: the image covers the whole sheet
        résolution_papier_largeur = Divide(static_cast<float>(image_pixels_largeur), feuille_cm_largeur);
        résolution_papier_hauteur = Divide(static_cast<float>(image_pixels_hauteur), feuille_cm_hauteur);
        break;
      case 2: {  // two reference points
        const float dx_cm = Subtract(X2_cm, X1_cm);
        résolution_papier_largeur =
            dx_cm == 0.0f ? kDefaultPixelsPerCm : Divide(Subtract(X2_pixel, X1_pixel), dx_cm);
        const float dy_cm = Subtract(Y2_cm, Y1_cm);
        résolution_papier_hauteur =
            dy_cm == 0.0f ? kDefaultPixelsPerCm : Divide(Subtract(Y2_pixel, Y1_pixel), dy_cm);
        // Paper position of the image's pixel (0, 0).
        image_OrigineX_cm = Subtract(X1_cm, Divide(X1_pixel, résolution_papier_largeur));
        image_OrigineY_cm = Subtract(Y1_cm, Divide(Y1_pixel, résolution_papier_hauteur));
        break;
      }
      default:
        // Not an error: the resolutions stay as they were.
        CurrentPlatform().Message(
            "type de calage inconnu dans calculerparamètrescalage: " + std::to_string(Type_calage),
            kDefaultMessageTitle, MessageStyle::kPlain);
        break;
    }
    const float field_width = champ_largeur_cm * résolution_papier_largeur;
    champ_largeur_pixels = ToInt16(field_width);
    // Font size in points -> cm -> pixels, in double precision.
    const double font_pixels =
        static_cast<double>(Font()->Size()) / 72.0 * 2.54 * static_cast<double>(résolution_papier_hauteur);
    Police_pixels_écran = ToInt16(font_pixels);
    Police_texte_pixels_écran = Police_pixels_écran;
    return true;
  } catch (const std::exception& e) {
    CurrentPlatform().Message(std::string("ERREUR dans calculerParamètresCalage: ") + e.what(),
                              kDefaultMessageTitle, MessageStyle::kCritical);
    return false;
  }
}

}  // namespace mandor
