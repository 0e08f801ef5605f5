// Devise is one currency (code, unit and sub-unit names, the text after the
// unit, the countries using it, its symbol); Devises is the currency table
// of a catalogue. A new table holds one built-in entry, the euro, stored
// under the key "EUR(Defaut)" rather than its plain code: it is reachable by
// position 0 and by FindPos, but not by its code as a key. Every other entry
// is stored under its plain code.
//
// Threading: single-threaded, as the whole model is: a currency table is used
// by one thread at a time (the host's); nothing here locks, and nothing is
// shared between threads but what the platform holds.
#ifndef MANDOR_MODEL_DEVISES_H_
#define MANDOR_MODEL_DEVISES_H_

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "mandor/util/collection.h"

namespace mandor {

class Devise {
 public:
  std::string code() const { return code_; }
  void code(const std::string& v) { code_ = v; }
  std::string Unite() const { return unite_; }
  void Unite(const std::string& v) { unite_ = v; }
  std::string SousUnite() const { return sous_unite_; }
  void SousUnite(const std::string& v) { sous_unite_ = v; }
  std::string PostUnite() const { return post_unite_; }
  void PostUnite(const std::string& v) { post_unite_ = v; }
  std::string Pays() const { return pays_; }
  void Pays(const std::string& v) { pays_ = v; }
  std::string Symbole() const { return symbole_; }
  void Symbole(const std::string& v) { symbole_ = v; }

 private:
  std::string code_, unite_, sous_unite_, post_unite_, pays_, symbole_;
};

class Devises {
 public:
  Devises();  // with the built-in EUR entry under "EUR(Defaut)", Defaut "EUR"

  int16_t Count() const;
  // Adds oDevise under its code. Error 457 when the code is already a key.
  void Add(std::shared_ptr<Devise> oDevise);
  void AddDevise(const std::string& code, const std::string& Unite, const std::string& SousUnite,
                 const std::string& PostUnite = "", const std::string& Pays = "",
                 const std::string& Symbole = "");
  // A number is a 0-based position (0..Count admitted, Count failing with
  // Error 9; outside that range the entry under the key Defaut); a text is a
  // key ("" meaning Defaut). A missing key fails with Error 5.
  std::shared_ptr<Devise> Item(long position) const;
  std::shared_ptr<Devise> Item(const std::string& code) const;
  std::shared_ptr<Devise> Item(int position) const { return Item(static_cast<long>(position)); }
  std::shared_ptr<Devise> Item(const char* code) const { return Item(std::string(code)); }
  // True for "" or a code present as a key.
  bool Find(const std::string& code) const;
  // 0-based position of the first entry whose code equals code exactly; 0
  // for ""; Count when none does.
  int16_t FindPos(const std::string& code) const;

  std::string Defaut() const { return defaut_; }
  void Defaut(const std::string& value);  // "" stores "FRF"

 private:
  Collection<Devise> entries_;
  std::string defaut_;
};

}  // namespace mandor

#endif  // MANDOR_MODEL_DEVISES_H_
