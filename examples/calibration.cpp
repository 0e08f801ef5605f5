// calibration FOLDER/ NAME: restores the text marking FOLDER/NAME.xnf (or
// .cnf) and prints the calibration the library derives from its two
// reference points or its sheet size: pixels per centimetre on the paper,
// the printer's offsets, a field's width in pixels and the screen font size.
#include <iostream>

#include "mandor/mandor.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: calibration FOLDER/ NAME\n";
    return 2;
  }
  auto document = std::make_shared<mandor::Mandor>();
  document->Répertoire_Document = argv[1];
  document->Nom_Document(argv[2]);
  if (!document->RestaurerMarquage()) {
    std::cerr << "no marking " << argv[1] << argv[2] << ".xnf or .cnf\n";
    return 1;
  }
  if (!document->CalculerParamètresCalage()) {
    std::cerr << "no calibration for this marking\n";
    return 1;
  }
  std::cout << "calibration type " << document->Type_calage << "\n"
            << "  paper resolution: " << document->résolution_papier_largeur << " x "
            << document->résolution_papier_hauteur << " px/cm\n"
            << "  printer origin:   " << document->imprimante_OrigineX_cm << ", " << document->imprimante_OrigineY_cm
            << " cm\n"
            << "  field width:      " << document->champ_largeur_pixels << " px\n"
            << "  screen font:      " << document->Police_pixels_écran << " px\n";
  return 0;
}
