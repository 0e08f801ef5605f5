#include "bench/digest.h"

#include <cstdio>

#include "cli/json_dump.h"

namespace mandor_bench {

using mandor::Collection;
using mandor_cli::Json;

void Digest::Add(std::string_view text) {
  for (unsigned char c : text) {
    hash_ ^= c;
    hash_ *= 0x100000001B3ull;
  }
  // A separator byte that UTF-8 text never holds, so "ab"+"c" differs from "a"+"bc".
  hash_ ^= 0xFF;
  hash_ *= 0x100000001B3ull;
}

std::string Digest::Hex() const {
  char buffer[17];
  std::snprintf(buffer, sizeof buffer, "%016llx", static_cast<unsigned long long>(hash_));
  return buffer;
}

namespace {

template <class T, class ToJson>
void AddCollection(Digest& digest, std::string_view name, const Collection<T>& collection, ToJson to_json) {
  digest.Add(name);
  digest.Add(std::to_string(collection.Count()));
  for (long i = 1; i <= collection.Count(); ++i) {
    digest.Add(collection.Key(i));
    const std::shared_ptr<T>& member = collection.Item(i);
    digest.Add(member ? to_json(*member).dump(-1, ' ', false, Json::error_handler_t::replace) : "null");
  }
}

}  // namespace

void AddDocument(Digest& digest, const mandor::Mandor& document) {
  // The document's own part: a copy without its collections of pages,
  // rulers and fields (its few source documents stay).
  mandor::Mandor shell = document;
  shell.Pages = {};
  shell.Regles_V = {};
  shell.Regles_H = {};
  shell.Champs = {};
  shell.ChampsCachés = {};
  shell.ChampsFormules = {};
  shell.ChampsRecurrents = {};
  shell.champsContenantReference = {};
  shell.champsDataContrat = {};
  digest.Add(mandor_cli::DocumentJson(shell).dump(-1, ' ', false, Json::error_handler_t::replace));

  AddCollection(digest, "Pages", document.Pages, mandor_cli::PageJson);
  AddCollection(digest, "Regles_V", document.Regles_V, mandor_cli::RulerJson);
  AddCollection(digest, "Regles_H", document.Regles_H, mandor_cli::RulerJson);
  AddCollection(digest, "Champs", document.Champs, mandor_cli::FieldJson);
  AddCollection(digest, "ChampsCachés", document.ChampsCachés, mandor_cli::FieldJson);
  AddCollection(digest, "ChampsFormules", document.ChampsFormules, mandor_cli::FieldJson);
  AddCollection(digest, "ChampsRecurrents", document.ChampsRecurrents, mandor_cli::FieldJson);
  AddCollection(digest, "champsContenantReference", document.champsContenantReference, mandor_cli::FieldJson);
  AddCollection(digest, "champsDataContrat", document.champsDataContrat, mandor_cli::FieldJson);
}

void AddCatalogue(Digest& digest, const mandor::cMarquage& catalogue) {
  digest.Add(mandor_cli::CatalogueJson(catalogue).dump(-1, ' ', false, Json::error_handler_t::replace));
  digest.Add(std::to_string(catalogue.Count()));
}

void AddMessages(Digest& digest, const std::vector<mandor_cli::RecordedMessage>& messages) {
  digest.Add(std::to_string(messages.size()));
  for (const auto& message : messages) {
    digest.Add(mandor_cli::MessageJson(message).dump(-1, ' ', false, Json::error_handler_t::replace));
  }
}

}  // namespace mandor_bench
