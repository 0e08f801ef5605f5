#include "mandor/values/words.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string_view>

#include <Numbertext.hxx>

#ifndef MANDOR_NUMBERTEXT_DIR
#define MANDOR_NUMBERTEXT_DIR "/usr/share/libnumbertext"
#endif

namespace mandor::values {

namespace {

Numbertext& Library() {
  static std::unique_ptr<Numbertext> library = [] {
    auto made = std::make_unique<Numbertext>();
    made->set_prefix(std::string(MANDOR_NUMBERTEXT_DIR) + "/");
    return made;
  }();
  return *library;
}

// Words of a numeral that stand apart in the traditional spelling: the
// hyphens the reform puts on either side of them become spaces.
bool StandsApart(std::string_view word) {
  for (std::string_view apart : {"cent", "cents", "mille", "million", "millions", "milliard", "milliards", "billion",
                                 "billions", "billiard", "billiards", "trillion", "trillions", "et"}) {
    if (word == apart) return true;
  }
  return false;
}

}  // namespace

std::string TraditionalSpelling(const std::string& reformed) {
  std::string out;
  out.reserve(reformed.size());
  size_t start = 0;
  std::string_view previous;
  bool first = true;
  const std::string_view all(reformed);
  // Within one blank-separated word, the parts between hyphens are joined
  // back with a space when either side stands apart.
  for (size_t i = 0; i <= all.size(); ++i) {
    const bool end = i == all.size();
    const char c = end ? ' ' : all[i];
    if (c != '-' && c != ' ') continue;
    const std::string_view part = all.substr(start, i - start);
    if (!first) out += (StandsApart(previous) || StandsApart(part)) ? ' ' : '-';
    out.append(part);
    first = c == ' ';
    if (c == ' ' && !end) out += ' ';
    previous = part;
    start = i + 1;
  }
  return out;
}

std::optional<std::string> AmountInWords(double amount, const std::string& currency, std::string* error) {
  const auto fail = [&](const std::string& why) -> std::optional<std::string> {
    if (error) *error = why;
    return std::nullopt;
  };
  if (!std::isfinite(amount) || std::fabs(amount) >= 1e15) return fail("the amount cannot be written in words");
  bool code = currency.size() == 3;
  for (char c : currency) code = code && c >= 'A' && c <= 'Z';
  if (!code) return fail("no French words for the currency \"" + currency + "\"");
  if (std::fabs(amount) < 0.005) amount = 0;  // no "moins zéro"
  char number[64];
  std::snprintf(number, sizeof number, "%.2f", amount);
  std::string plain = number;
  std::string money = currency + " " + plain;
  Numbertext& library = Library();
  if (!library.numbertext(money, "fr")) return fail("no French number words (libnumbertext data for \"fr\" missing)");
  // An unknown currency code gives the bare numeral: one unit of it reads "un".
  std::string one = currency + " 1";
  if (!library.numbertext(one, "fr") || one == "un") {
    return fail("no French words for the currency \"" + currency + "\"");
  }
  std::string words = TraditionalSpelling(money);
  // libnumbertext drops the plural "s" of 80 cents ("quatre-vingt
  // centimes"): "vingt" multiplied and ending the numeral takes it.
  const std::string singular = "quatre-vingt centime";
  if (const size_t at = words.find(singular); at != std::string::npos) {
    words = words.substr(0, at) + "quatre-vingts centime" + words.substr(at + singular.size());
  }
  if (!words.empty() && words[0] >= 'a' && words[0] <= 'z') words[0] = static_cast<char>(words[0] - 'a' + 'A');
  return words;
}

}  // namespace mandor::values
