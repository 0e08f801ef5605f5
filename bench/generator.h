// Synthetic markings for the benchmark: a text marking (".xnf") of P pages of
// F fields with vertical and horizontal rulers and recurrent fields, and a
// catalogue workbook of D documents sharing R rows of C columns, with
// page-level cells, recurrent fields and a data contract. The content is a
// pure function of the requested size: the same size always gives the same
// bytes, on any machine, so that digests of what the library makes of them
// can be checked in.
#ifndef MANDOR_BENCH_GENERATOR_H_
#define MANDOR_BENCH_GENERATOR_H_

#include <string>

namespace mandor_bench {

// How a text marking of about `fields` fields is laid out.
struct TextShape {
  int pages = 0;
  int rows_per_page = 0;
  int columns = 0;
  long Fields() const { return static_cast<long>(pages) * rows_per_page * columns; }
};

// How a catalogue of about `fields` fields is laid out.
struct CatalogueShape {
  int documents = 0;
  int rows = 0;
  int columns = 0;
  int rows_per_page = 0;
  int Pages() const { return (rows + rows_per_page - 1) / rows_per_page; }
  long Fields() const { return static_cast<long>(documents) * rows * columns; }
};

TextShape TextShapeFor(long fields);
CatalogueShape CatalogueShapeFor(long fields);

// The bytes of the text marking (Windows-1252, CR LF) for `fields` fields.
std::string GenerateTextMarking(long fields);

// The bytes of the catalogue workbook (UTF-8) for `fields` fields.
std::string GenerateCatalogue(long fields);

}  // namespace mandor_bench

#endif  // MANDOR_BENCH_GENERATOR_H_
