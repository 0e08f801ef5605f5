// CPage is one page of a marked document: the size and resolution of its
// scanned image, its own fields (kept in reading order) and its own
// horizontal rulers. Positions in points are derived from pixels and the
// page's resolutions (300 x 300 dpi when the page is created).
//
// Threading: single-threaded, as the whole model is: a page is used by one
// thread at a time (the host's); nothing here locks, and nothing is shared
// between threads but what the platform holds.
#ifndef MANDOR_MODEL_PAGE_H_
#define MANDOR_MODEL_PAGE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "mandor/util/collection.h"

namespace mandor {

class CChamp;
class CRegle;
class Mandor;

class CPage : public std::enable_shared_from_this<CPage> {
 public:
  std::weak_ptr<Mandor> oOwnerMandor;
  std::string Id;
  Collection<CChamp> Champs;
  float Width = 0;
  float Height = 0;
  Collection<CRegle> Regles_H;
  bool NoImage = false;

  bool EmptyPage() const { return Champs.Count() == 0; }
  // Note the order: vertical resolution first.
  void SetSize(int16_t iVRes, int16_t iHres, float fWidth, float fHeight);

  int16_t hResolution() const { return h_resolution_; }
  void hResolution(int16_t value) { h_resolution_ = value; }
  int16_t vResolution() const { return v_resolution_; }
  void vResolution(int16_t value) { v_resolution_ = value; }

  // Page size in points. Error 11 when the resolution is 0.
  float Height_Point() const;
  float Width_Point() const;

 private:
  int16_t v_resolution_ = 300;
  int16_t h_resolution_ = 300;
};

// pixel / resolution * 72 in single precision (the quotient in double,
// rounded to float). Error 11 when resolution is 0.
float PixelsToPoints(float pixels, int16_t resolution);

}  // namespace mandor

#endif  // MANDOR_MODEL_PAGE_H_
