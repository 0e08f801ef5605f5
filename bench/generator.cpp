#include "bench/generator.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

namespace mandor_bench {

namespace {

// SplitMix64: a tiny generator whose sequence is fixed by its seed alone
// (the standard distributions are not the same across libraries).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // A number in [0, n).
  int Below(int n) { return static_cast<int>(Next() % static_cast<uint64_t>(n)); }
  bool OneIn(int n) { return Below(n) == 0; }

 private:
  uint64_t state_;
};

// "12,50": a quantity with a decimal comma, as the files hold numbers.
std::string Quantity(Random& random) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%d,%02d", 1 + random.Below(500), random.Below(4) * 25);
  return buffer;
}

std::string Padded(long value, int digits) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%0*ld", digits, value);
  return buffer;
}

class Lines {
 public:
  void Add(const std::string& line) {
    text_ += line;
    text_ += "\r\n";
  }
  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

// Windows-1252 bytes of the accented letters the section names use.
constexpr char kE_acute[] = "\xE9";
constexpr char kE_grave[] = "\xE8";

constexpr int kColumnX[] = {200, 1300, 1520, 1765, 2080, 2400, 2600, 2800};
constexpr int kColumnWidth[] = {1080, 200, 230, 300, 320, 180, 180, 180};
constexpr int kRowHeight = 46;
constexpr int kRowPitch = 60;
constexpr int kFirstRowY = 400;

}  // namespace

TextShape TextShapeFor(long fields) {
  TextShape shape;
  shape.columns = 5;
  shape.pages = fields <= 1000 ? 2 : fields <= 20000 ? 4 : 10;
  shape.rows_per_page = static_cast<int>(std::max(1L, fields / (shape.pages * shape.columns)));
  return shape;
}

CatalogueShape CatalogueShapeFor(long fields) {
  CatalogueShape shape;
  shape.documents = 4;
  shape.columns = 5;
  shape.rows = static_cast<int>(std::max(1L, fields / (shape.documents * shape.columns)));
  shape.rows_per_page = 50;
  return shape;
}

std::string GenerateTextMarking(long fields) {
  const TextShape shape = TextShapeFor(fields);
  Random random(0x7E57ull * 1000003ull + static_cast<uint64_t>(fields));
  Lines out;
  out.Add("[Calage]");
  out.Add("Type=2");
  out.Add("Orientation=1");
  out.Add("Version=2");
  out.Add("X1_pixel=236");
  out.Add("Y1_pixel=354");
  out.Add("X1_cm=2");
  out.Add("Y1_cm=3");
  out.Add("X2_pixel=2244");
  out.Add("Y2_pixel=3189");
  out.Add("X2_cm=19");
  out.Add("Y2_cm=27");
  out.Add("FondGris=0");
  out.Add(std::string("[Pr") + kE_acute + "sentation]");
  out.Add("Fonte=Arial");
  out.Add("Points=10");
  out.Add("Gras=False");
  out.Add("Souligne=False");
  out.Add("Italique=False");
  out.Add("Barre=False");
  out.Add("Couleur=0");
  out.Add("CouleurFond=16777215");
  out.Add("DefDevise=EUR");
  out.Add("champ_largeur_cm=2,5");
  out.Add(std::string("Type_document=D") + kE_acute + "tail");
  out.Add("[Constantes]");
  out.Add("TVA=20");
  out.Add("[Source]");
  out.Add("Nombre=1");
  out.Add("Document_1=Quantites.csv");
  out.Add(std::string("S") + kE_acute + "parateur_1=;");
  out.Add(std::string("[Champs R") + kE_acute + "currents]");
  out.Add("Nombre_ChampsRecurrents=2");
  out.Add("R1=00001|Report_K5|Arial|10|66||K5|5||0|3|#REPORT(K5)|2|300|346|2080|2400|1|8388608|False|False|False|16777215");
  out.Add("R2=00002|Page_Numero|Arial|8|32|||0||0|0||0|3330|3376|1100|1380|0|0|False|False|False|16777215");
  out.Add(std::string("[R") + kE_grave + "gles verticales]");
  out.Add("Nombre=" + std::to_string(shape.columns));
  for (int c = 1; c <= shape.columns; ++c) {
    out.Add(std::to_string(c) + "=" + Padded(c, 5) + "|K" + std::to_string(c) + "|Arial|10|" +
            (c == 1 ? "16" : "64") + "|" + (c == 1 ? "0" : "2") + "|" + std::to_string(kColumnX[c - 1]) +
            "|0|" + std::to_string(kColumnWidth[c - 1] / 100) + ",5|" + (c == 1 ? "0" : "1") + "|0");
  }
  out.Add("[Pages]");
  out.Add("Nombre=" + std::to_string(shape.pages));

  long row_number = 0;
  for (int p = 1; p <= shape.pages; ++p) {
    out.Add("[Page " + std::to_string(p) + "]");
    out.Add(std::string("Nombre_r") + kE_grave + "gles_h=" + std::to_string(shape.rows_per_page));
    for (int r = 1; r <= shape.rows_per_page; ++r) {
      const int y = kFirstRowY + (r - 1) * kRowPitch;
      out.Add("r" + std::to_string(r) + "=" + Padded(r, 5) + "|L" + std::to_string(row_number + r) +
              "|Arial|10|0|2|0|" + std::to_string(y) + "|0|1|0");
    }
    out.Add("Image=1");
    out.Add("Nombre_champs=" + std::to_string(shape.rows_per_page * shape.columns + 1));
    long i = 0;
    for (int r = 1; r <= shape.rows_per_page; ++r) {
      ++row_number;
      const std::string row = "L" + std::to_string(row_number);
      const int bottom = kFirstRowY + (r - 1) * kRowPitch;
      // Every seventh row lists its columns right to left, as a marking
      // edited by hand does, so that fields are also inserted mid-row.
      const bool reversed = r % 7 == 0;
      for (int k = 1; k <= shape.columns; ++k) {
        const int c = reversed ? shape.columns + 1 - k : k;
        ++i;
        const std::string column = "K" + std::to_string(c);
        std::string value, type = "1", formula, special = "64", size = "10";
        if (c == 1) {
          type = "0";
          special = "16";
          value = "Article " + std::to_string(row_number);
        } else if (c == 3) {
          value = Quantity(random);
        } else if (c == shape.columns) {
          type = "2";
          formula = row + "_K3*" + row + "_K4";
          special = "65";
        }
        if (random.OneIn(13)) size = std::to_string(9 + random.Below(4));
        const std::string bold = random.OneIn(9) ? "True" : "False";
        out.Add("c" + std::to_string(i) + "=" + Padded(p, 3) + "_" + Padded(i, 5) + "|" + row + "_" + column +
                "|Arial|" + size + "|" + special + "|" + value + "|" + column + "|0|" + row + "|0|" + type + "|" +
                formula + "|2|" + std::to_string(bottom - kRowHeight) + "|" + std::to_string(bottom) + "|" +
                std::to_string(kColumnX[c - 1]) + "|" + std::to_string(kColumnX[c - 1] + kColumnWidth[c - 1]) +
                "|1|0|" + bold + "|False|False|16777215||True");
      }
    }
    // A copy of the recurrent carry-over field, below the last row.
    const int bottom = kFirstRowY + shape.rows_per_page * kRowPitch;
    out.Add("c" + std::to_string(i + 1) + "=" + Padded(p, 3) + "_" + Padded(i + 1, 5) + "|Report" +
            std::to_string(p) + "_K5|Arial|10|66||K5|5||0|3|#REPORT(K5)|2|" + std::to_string(bottom - kRowHeight) +
            "|" + std::to_string(bottom) + "|2080|2400|1|8388608|False|False|False|16777215|Report_K5|True");
  }
  return out.Take();
}

std::string GenerateCatalogue(long fields) {
  const CatalogueShape shape = CatalogueShapeFor(fields);
  Random random(0xCA7Aull * 1000003ull + static_cast<uint64_t>(fields));
  const std::string sheet = "Bench";
  const char* const types[] = {"DQE", "BPU", "DQE", "AE"};
  std::string x;
  x.reserve(static_cast<size_t>(shape.Fields()) * 160);
  x += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<?mso-application progid=\"Excel.Sheet\"?>\n";
  x += "<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
       " xmlns:o=\"urn:schemas-microsoft-com:office:office\"\n"
       " xmlns:x=\"urn:schemas-microsoft-com:office:excel\"\n"
       " xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\"\n"
       " xmlns:dt=\"uuid:C2F41010-65B3-11d1-A29F-00AA00C14882\"\n"
       " xmlns:mn=\"urn:schemas-mandor:marquage\">\n";
  x += " <CustomDocumentProperties xmlns=\"urn:schemas-microsoft-com:office:office\">\n"
       "  <TVA dt:dt=\"string\">20,0</TVA>\n </CustomDocumentProperties>\n";
  x += " <mn:MANDOR mn:Name=\"" + sheet + "\" mn:Dec=\"2\">\n  <mn:iFont mn:Name=\"Arial\" mn:Size=\"10\"/>\n";
  for (int d = 1; d <= shape.documents; ++d) {
    const std::string id = "mn" + std::to_string(d);
    x += "  <mn:Image mn:ID=\"" + id + "\" mn:Name=\"Document " + std::to_string(d) + ".pdf\" mn:Type=\"" +
         types[(d - 1) % 4] + "\" mn:Orientation=\"1\" mn:H=\"46\" mn:Devise=\"EUR\" mn:Dec=\"2\">\n";
    x += "   <mn:iFont mn:Size=\"10\"/>\n";
    for (int c = 1; c <= shape.columns; ++c) {
      x += "   <mn:iCol mn:Name=\"K" + std::to_string(c) + "\" mn:Dec=\"" + (c == 1 ? "0" : "2") + "\" mn:iPrint=\"" +
           (c == 1 ? "0" : "1") + "\" mn:X=\"" + std::to_string(kColumnX[c - 1]) + "\" mn:W=\"" +
           std::to_string(kColumnWidth[c - 1]) + "\"";
      x += c == shape.columns ? ">\n    <mn:iFont mn:B=\"1\" mn:Alignment=\"1\"/>\n   </mn:iCol>\n" : "/>\n";
    }
    for (int p = 1; p <= shape.Pages(); ++p) {
      x += "   <mn:iPage mn:ID=\"" + std::to_string(p) +
           "\" mn:Width=\"2480\" mn:Height=\"3508\" mn:XRes=\"300\" mn:YRes=\"300\">\n";
      x += "    <Cell>\n     <mn:iCell mn:ID=\"" + id + "\" mn:Name=\"TA" + std::to_string(p) + "\" mn:Page=\"" +
           std::to_string(p) +
           "\" mn:X=\"2080\" mn:Y=\"3300\" mn:W=\"320\" mn:H=\"46\" mn:iPrint=\"1\" mn:Type=\"3\" "
           "mn:Formula=\"SOMME(K5)\"/>\n    </Cell>\n";
      x += "   </mn:iPage>\n";
    }
    x += "   <mn:ChampsRecurrents>\n";
    x += "    <mn:iCell mn:ID=\"" + id +
         "\" mn:Name=\"Page_Numero\" mn:Page=\"1\" mn:X=\"1100\" mn:Y=\"3330\" mn:W=\"280\" mn:H=\"46\" "
         "mn:iPrint=\"0\" mn:Type=\"0\">\n     <mn:iFont mn:Size=\"8\" mn:Alignment=\"2\"/>\n    </mn:iCell>\n";
    x += "    <mn:iCell mn:ID=\"" + id +
         "\" mn:Name=\"Reference_Marche\" mn:Page=\"1\" mn:X=\"1500\" mn:Y=\"200\" mn:W=\"900\" mn:H=\"46\" "
         "mn:iPrint=\"1\" mn:Type=\"0\"/>\n";
    x += "   </mn:ChampsRecurrents>\n";
    if (d == shape.documents) {
      x += "   <mn:DataContrat>\n";
      const char* const names[] = {"RaisonSociale", "SIRET", "Adresse", "Signataire"};
      for (int k = 0; k < 4; ++k) {
        x += "    <mn:iCell mn:ID=\"" + id + "\" mn:Name=\"" + names[k] + "\" mn:Page=\"1\" mn:X=\"300\" mn:Y=\"" +
             std::to_string(420 + 60 * k) + "\" mn:W=\"1000\" mn:H=\"40\" mn:iPrint=\"1\" mn:Type=\"0\" mn:Label=\"" +
             names[k] + "\" mn:Optional=\"" + (k == 3 ? "1" : "0") +
             "\" mn:Groupe=\"Candidat\" mn:ToReport=\"\" mn:Value=\"Valeur " + std::to_string(k) + "\"/>\n";
      }
      x += "   </mn:DataContrat>\n";
    }
    x += "  </mn:Image>\n";
  }
  x += " </mn:MANDOR>\n";
  x += " <Styles>\n  <Style ss:ID=\"Default\" ss:Name=\"Normal\"><Font ss:FontName=\"Arial\"/></Style>\n"
       "  <Style ss:ID=\"sPrix\"><NumberFormat ss:Format=\"#,##0.00\"/></Style>\n </Styles>\n";

  // The worksheet: a header row, then every article row with one mn:iRow and
  // one mn:iCell per document; a chapter row every 20 rows.
  std::string names = "  <Names>\n   <NamedRange ss:Name=\"NumP\" ss:RefersTo=\"='" + sheet + "'!C1\"/>\n";
  for (int c = 1; c <= shape.columns; ++c) {
    names += "   <NamedRange ss:Name=\"K" + std::to_string(c) + "\" ss:RefersTo=\"='" + sheet + "'!C" +
             std::to_string(c + 1) + "\"/>\n";
  }
  std::string table;
  long sheet_row = 1;
  table += "   <Row>\n    <Cell ss:Index=\"1\"><Data ss:Type=\"String\">N</Data></Cell>\n   </Row>\n";
  for (int r = 1; r <= shape.rows; ++r) {
    if (r % 20 == 1) {
      ++sheet_row;
      table += "   <Row>\n    <mn:ILM mn:Name=\"CH" + std::to_string(r / 20 + 1) +
               "\" mn:Type=\"CHAP\" mn:Level=\"1\"/>\n    <Cell ss:Index=\"2\"><Data ss:Type=\"String\">Chapitre " +
               std::to_string(r / 20 + 1) + "</Data></Cell>\n   </Row>\n";
    }
    ++sheet_row;
    const std::string row = "L" + std::to_string(r);
    const int page = (r - 1) / shape.rows_per_page + 1;
    const int y = kFirstRowY + ((r - 1) % shape.rows_per_page) * kRowPitch;
    names += "   <NamedRange ss:Name=\"P_0_" + row + "\" ss:RefersTo=\"='" + sheet + "'!R" + std::to_string(sheet_row) +
             "C1\"/>\n";
    table += "   <Row>\n";
    for (int d = 1; d <= shape.documents; ++d) {
      table += "    <mn:iRow mn:ID=\"mn" + std::to_string(d) + "\" mn:Name=\"" + row + "\" mn:iPrint=\"1\" mn:Y=\"" +
               std::to_string(y) + "\" mn:Page=\"" + std::to_string(page) + "\"/>\n";
    }
    table += "    <mn:ILM mn:Name=\"" + row + "\" mn:Type=\"ART\" mn:Level=\"2\"/>\n";
    table += "    <Cell ss:Index=\"1\"><Data ss:Type=\"String\">" + std::to_string(r) +
             "</Data><NamedCell ss:Name=\"NumP\"/><NamedCell ss:Name=\"P_0_" + row + "\"/></Cell>\n";
    for (int c = 1; c <= shape.columns; ++c) {
      const std::string column = "K" + std::to_string(c);
      std::string data = c == 1 ? "<Data ss:Type=\"String\">Article " + std::to_string(r) + "</Data>"
                                : "<Data ss:Type=\"Number\">" + std::to_string(1 + random.Below(900)) + "</Data>";
      table += "    <Cell ss:Index=\"" + std::to_string(c + 1) + "\"" + (c > 2 ? " ss:StyleID=\"sPrix\"" : "") + ">" +
               data + "\n";
      for (int d = 1; d <= shape.documents; ++d) {
        const std::string type = c == 1 ? "0" : c == shape.columns ? "2" : "1";
        table += "     <mn:iCell mn:ID=\"mn" + std::to_string(d) + "\" mn:Name=\"" + row + "_" + column +
                 "\" mn:Page=\"" + std::to_string(page) + "\" mn:iPrint=\"" + (c == 1 ? "0" : "1") + "\" mn:Type=\"" +
                 type + "\"";
        if (c == shape.columns) table += " mn:Formula=\"" + row + "_K3*" + row + "_K4\"";
        if (random.OneIn(11)) {
          table += ">\n      <mn:iFont mn:Size=\"" + std::to_string(9 + random.Below(4)) + "\"" +
                   (random.OneIn(2) ? " mn:B=\"1\"" : "") + "/>\n     </mn:iCell>\n";
        } else {
          table += "/>\n";
        }
      }
      table += "    </Cell>\n";
    }
    table += "   </Row>\n";
  }
  names += "  </Names>\n";
  x += " <Worksheet ss:Name=\"" + sheet + "\">\n" + names;
  x += "  <Table ss:ExpandedColumnCount=\"" + std::to_string(shape.columns + 1) + "\" ss:ExpandedRowCount=\"" +
       std::to_string(sheet_row) + "\" x:FullColumns=\"1\" x:FullRows=\"1\">\n";
  x += table;
  x += "  </Table>\n </Worksheet>\n</Workbook>\n";
  return x;
}

}  // namespace mandor_bench
