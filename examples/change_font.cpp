// change_font FOLDER/ NAME: restores the text marking FOLDER/NAME.xnf (or
// .cnf), prints the amounts of its first page in bold and in the Carlito
// font, and saves it again as FOLDER/NAME.xnf; the previous file is kept as
// FOLDER/NAME.xak.
#include <iostream>

#include "mandor/mandor.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: change_font FOLDER/ NAME\n";
    return 2;
  }
  auto document = std::make_shared<mandor::Mandor>();
  document->Répertoire_Document = argv[1];
  document->Nom_Document(argv[2]);
  if (!document->RestaurerMarquage()) {
    std::cerr << "no marking " << argv[1] << argv[2] << ".xnf or .cnf\n";
    return 1;
  }
  if (document->Pages.Count() == 0) {
    std::cerr << "the marking has no page\n";
    return 1;
  }
  int changed = 0;
  for (const std::shared_ptr<mandor::CChamp>& field : document->Pages.Item(1)->Champs) {
    if (field->Nom().find("Montant") == std::string::npos) continue;
    field->Bold(true);
    field->FontName("Carlito");
    ++changed;
  }
  // No question: the host has decided. WithQte keeps the quantities typed
  // in the marking. A failure has been shown as a message.
  bool with_quantities = true;
  document->SauvegarderMarquageEx(false, with_quantities);
  if (document->Nom_Document().empty()) return 1;
  std::cout << changed << " amounts now in Carlito bold; saved " << argv[1] << argv[2] << ".xnf\n";
  return 0;
}
