// Doc is a source document of a marking: a data file that feeds the
// document's fields, and the column separator of that file.
//
// Threading: single-threaded, as the whole model is: a source document is
// used by one thread at a time (the host's); nothing here locks, and nothing
// is shared between threads but what the platform holds.
#ifndef MANDOR_MODEL_DOC_H_
#define MANDOR_MODEL_DOC_H_

#include <string>

namespace mandor {

class Doc {
 public:
  std::string Fichier;     // file name of the data file
  std::string Séparateur;  // one character (TAB, ";", ","), or "" when unknown
};

}  // namespace mandor

#endif  // MANDOR_MODEL_DOC_H_
