#include "mandor/model/devises.h"

#include <utility>

#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"

namespace mandor {

Devises::Devises() : defaut_("EUR") {
  auto euro = std::make_shared<Devise>();
  euro->code("EUR");
  euro->Unite("EURO");
  euro->SousUnite("CENT");
  euro->Pays("France,Belgique,Espagne,Allemagne,Italie,Portugal,Luxembourg");
  euro->Symbole("\u20AC");
  entries_.Add(euro, euro->code() + "(Defaut)");
}

// A 16-bit count, as the classic object model has it: Error 6 beyond 32767.
int16_t Devises::Count() const { return ToInt16(static_cast<double>(entries_.Count())); }

void Devises::Add(std::shared_ptr<Devise> oDevise) {
  if (oDevise == nullptr) ThrowError(kInvalidArgument, "Devises.Add: no currency given");
  const std::string key = oDevise->code();
  entries_.Add(std::move(oDevise), key);
}

void Devises::AddDevise(const std::string& code, const std::string& Unite, const std::string& SousUnite,
                        const std::string& PostUnite, const std::string& Pays,
                        const std::string& Symbole) {
  auto devise = std::make_shared<Devise>();
  devise->code(code);
  devise->Unite(Unite);
  devise->SousUnite(SousUnite);
  devise->PostUnite(PostUnite);
  devise->Pays(Pays);
  devise->Symbole(Symbole);
  Add(std::move(devise));
}

// Position Count is admitted on purpose and fails with the collection's
// Error 9.
std::shared_ptr<Devise> Devises::Item(long position) const {
  if (position >= 0 && position <= entries_.Count()) return entries_.Item(position + 1);
  return entries_.Item(std::string_view(defaut_));
}

std::shared_ptr<Devise> Devises::Item(const std::string& code) const {
  if (const auto number = ParseNumber(code, CurrentPlatform().locale())) {
    // A fractional position is rounded (half to even) only once one is added
    // to it, as the collection converts the 1-based index it is given.
    const double position = *number;
    if (position >= 0 && position <= static_cast<double>(entries_.Count())) {
      return entries_.Item(static_cast<long>(ToInt32(position + 1)));
    }
    return entries_.Item(std::string_view(defaut_));
  }
  if (code.empty()) return entries_.Item(std::string_view(defaut_));
  return entries_.Item(std::string_view(code));
}

bool Devises::Find(const std::string& code) const {
  return code.empty() || entries_.Contains(code);
}

int16_t Devises::FindPos(const std::string& code) const {
  if (code.empty()) return 0;
  long position = 0;
  for (const auto& devise : entries_) {
    if (devise->code() == code) break;
    ++position;
  }
  return ToInt16(static_cast<double>(position));
}

void Devises::Defaut(const std::string& value) { defaut_ = value.empty() ? "FRF" : value; }

}  // namespace mandor
