#include "mandor/model/page.h"

#include "mandor/fields/champ.h"
#include "mandor/model/regle.h"
#include "mandor/util/error.h"

namespace mandor {

float PixelsToPoints(float pixels, int16_t resolution) {
  if (resolution == 0) ThrowError(kDivisionByZero);
  return static_cast<float>(static_cast<double>(pixels) / static_cast<float>(resolution) * 72.0);
}

void CPage::SetSize(int16_t iVRes, int16_t iHres, float fWidth, float fHeight) {
  v_resolution_ = iVRes;
  h_resolution_ = iHres;
  Width = fWidth;
  Height = fHeight;
}

float CPage::Height_Point() const { return PixelsToPoints(Height, v_resolution_); }

float CPage::Width_Point() const { return PixelsToPoints(Width, h_resolution_); }

}  // namespace mandor
