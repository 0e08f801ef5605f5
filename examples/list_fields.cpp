// list_fields CATALOGUE: reads a catalogue workbook and lists, for each of
// its documents, every field of every page: its name, its rectangle in
// pixels, its value and its formula.
#include <iostream>

#include "mandor/mandor.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: list_fields CATALOGUE\n";
    return 2;
  }
  auto catalogue = std::make_shared<mandor::cMarquage>();
  if (!catalogue->XML_ReadCNF(argv[1])) {
    std::cerr << argv[1] << ": not a catalogue\n";
    return 1;
  }
  std::cout << "mandor " << MANDOR_VERSION << ": " << catalogue->Count() << " documents in " << argv[1] << "\n";
  for (const std::shared_ptr<mandor::Mandor>& document : *catalogue) {
    std::cout << document->Id << " \"" << document->Nom_Document() << "\" (" << document->Type_Document << ")\n";
    long number = 0;
    for (const std::shared_ptr<mandor::CPage>& page : document->Pages) {
      ++number;
      for (const std::shared_ptr<mandor::CChamp>& field : page->Champs) {
        std::cout << "  page " << number << "  " << field->Nom() << "  (" << field->Position_pixel_Left << ", "
                  << field->Position_pixel_Top << ") - (" << field->Position_pixel_Right << ", "
                  << field->Position_pixel_Bottom << ")  value \"" << field->valeur() << "\"";
        if (!field->Formule().empty()) std::cout << "  = " << field->Formule();
        std::cout << "\n";
      }
    }
  }
  return 0;
}
