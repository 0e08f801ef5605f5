// `mandor info` and `mandor dump`: what a user reads about a marking, and
// the JSON of the whole model (docs/json.md).

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cli/cli_test_util.h"

namespace mandor_cli_test {
namespace {

using Json = nlohmann::ordered_json;

Json Dump(const std::vector<std::string>& args) {
  std::vector<std::string> command = {"dump"};
  command.insert(command.end(), args.begin(), args.end());
  const CliResult r = RunCli(command);
  EXPECT_EQ(r.status, 0) << r.err;
  return ParseJson(r.out);
}

TEST(CliInfo, SummarisesEachDocumentOfACatalogue) {
  const CliResult r = RunCli({"info", Sample("menuiseries.xml"), "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  for (const char* expected : {
           "catalogue \"Menuiseries intérieures\": 3 documents, font Arial 10, default currency EUR",
           "document mn1 \"DQE Menuiseries\" (Détail)", "document mn2 \"BPU Menuiseries\" (Prix)",
           "document mn3 \"AE Menuiseries\" (AE)",
           "    page 1: 2480 x 3508 px at 300 x 300 dpi, 6 rows, 19 fields",
           "4 vertical (Désignation, Qté, PU, PT), 11 horizontal",
           "31 (2 recurrent, 0 recurrent copies, 13 with a formula, 0 data contract, 0 hidden)",
           "8 (0 recurrent, 0 recurrent copies, 0 with a formula, 4 data contract, 0 hidden)",
           "EUR (index 0), 2 decimals, VAT 20 %", "document Times New Roman 11",
           "calibration: type 0 (none), orientation 0"}) {
    EXPECT_NE(r.out.find(expected), std::string::npos) << expected << "\n" << r.out;
  }
  const CliResult one = RunCli({"info", Sample("menuiseries.xml"), "--doc", "MN2"});
  ASSERT_EQ(one.status, 0) << one.err;
  EXPECT_NE(one.out.find("document mn2"), std::string::npos);
  EXPECT_EQ(one.out.find("document mn1"), std::string::npos);
  EXPECT_EQ(one.out.find("document mn3"), std::string::npos);
}

TEST(CliInfo, TextMarkingsAndTheLocale) {
  const std::string xnf = Sample("dqe-menuiseries.det.xnf");
  CliResult r = RunCli({"info", xnf, "--locale", "fr"});
  ASSERT_EQ(r.status, 0) << r.err;
  for (const char* expected : {"extended text marking (.xnf)", "document \"dqe-menuiseries.det\" (Détail)",
                               "5 vertical (Désignation, Unité, Qté, Prix unitaire, Montant), 12 horizontal",
                               "(2 recurrent, 3 recurrent copies", "field width 2,5 cm",
                               "calibration: type 2 (two points), orientation 1; (236, 354) px = (2, 3) cm",
                               "sources:     Quantités Menuiseries.csv [;]"}) {
    EXPECT_NE(r.out.find(expected), std::string::npos) << expected << "\n" << r.out;
  }
  // The decimal separator: --locale, else the environment.
  EXPECT_NE(RunCli({"info", xnf, "--locale", "en"}).out.find("field width 2.5 cm"), std::string::npos);
  EXPECT_NE(RunCli({"--locale", "en", "info", xnf}).out.find("field width 2.5 cm"), std::string::npos);
  EXPECT_NE(RunCli({"info", xnf}, {{"LANG", "fr_FR.UTF-8"}}).out.find("field width 2,5 cm"), std::string::npos);
  EXPECT_NE(RunCli({"info", xnf}, {{"LC_ALL", "C"}}).out.find("field width 2.5 cm"), std::string::npos);

  r = RunCli({"info", Sample("dqe-menuiseries.det.cnf")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("standard text marking (.cnf)"), std::string::npos);
  // A bare file name: the document's folder is the working folder.
  r = RunCli({"info", "dqe-menuiseries.det.cnf"}, {}, MANDOR_SAMPLES_DIR);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("folder:      ./\n"), std::string::npos) << r.out;
}

TEST(CliDump, TextMarkingModel) {
  const Json dump = Dump({Sample("dqe-menuiseries.det.xnf"), "--locale", "fr"});
  ASSERT_TRUE(dump.is_object());
  EXPECT_EQ(Keys(dump), (std::vector<std::string>{"catalogue", "documents", "messages"}));
  EXPECT_TRUE(dump["catalogue"].is_null());
  EXPECT_EQ(dump["messages"], Json::array());
  ASSERT_EQ(dump["documents"].size(), 1u);
  const Json& doc = dump["documents"][0];
  EXPECT_EQ(doc["Nom_Document"], "dqe-menuiseries.det");
  EXPECT_EQ(doc["ShortName"], "dqe-menuiseries.");
  EXPECT_EQ(doc["Type_Document"], "Détail");
  EXPECT_EQ(doc["Répertoire_Document"], std::string(MANDOR_SAMPLES_DIR) + "/");
  EXPECT_EQ(doc["Type_calage"], 2);
  EXPECT_EQ(doc["X2_pixel"], 2244);
  EXPECT_EQ(doc["TVA"], 20);
  EXPECT_EQ(doc["Devise"], "EUR");
  EXPECT_EQ(doc["FonteName"], "Arial");
  EXPECT_EQ(doc["Font"]["Name"], "Arial");
  ASSERT_EQ(doc["Docs"].size(), 1u);
  EXPECT_EQ(doc["Docs"][0]["Fichier"], "Quantités Menuiseries.csv");
  EXPECT_EQ(doc["Docs"][0]["Séparateur"], ";");
  EXPECT_TRUE(doc["Docs"][0]["key"].is_null());

  // Columns, pages, rows and fields, in collection order, with their keys.
  ASSERT_EQ(doc["Regles_V"].size(), 5u);
  EXPECT_EQ(doc["Regles_V"][2]["Nom"], "Qté");
  EXPECT_EQ(doc["Regles_V"][2]["Position_pixel_X"], 1520);
  EXPECT_TRUE(doc["Regles_V"][2]["Page"].is_null());
  ASSERT_EQ(doc["Pages"].size(), 2u);
  const Json& page = doc["Pages"][0];
  EXPECT_EQ(page["key"], page["Id"]);
  EXPECT_EQ(page["hResolution"], 300);
  ASSERT_EQ(page["Regles_H"].size(), 7u);
  EXPECT_EQ(page["Regles_H"][0]["Nom"], "L1");
  EXPECT_EQ(page["Regles_H"][0]["Position_pixel_Y"], 960);
  EXPECT_EQ(page["Regles_H"][0]["Page"], page["Id"]);
  ASSERT_EQ(page["Champs"].size(), 20u);
  const Json* qty = FindBy(page["Champs"], "Nom", "L4_Qté");
  ASSERT_NE(qty, nullptr);
  EXPECT_EQ((*qty)["key"], "L4_Qté");
  EXPECT_EQ((*qty)["InitialValue"], "236,50");
  EXPECT_EQ((*qty)["Position_pixel_Top"], 1300);
  EXPECT_EQ((*qty)["Position_pixel_Right"], 1750);
  EXPECT_EQ((*qty)["oRegleV"], "Qté");
  EXPECT_EQ((*qty)["oRegleH"], "L4");
  EXPECT_EQ((*qty)["Décimales"], 2);
  EXPECT_EQ((*qty)["Alignement"], 1);
  const Json* amount = FindBy(page["Champs"], "Nom", "L1_Montant");
  ASSERT_NE(amount, nullptr);
  EXPECT_EQ((*amount)["Formule"], "L1_Qté*L1_Prix unitaire");
  EXPECT_EQ((*amount)["Bold"], true);
  EXPECT_EQ((*amount)["FontColor"], 8388608);
  // Recurrent fields: the masters, and a copy on page 2.
  ASSERT_EQ(doc["ChampsRecurrents"].size(), 2u);
  EXPECT_EQ(doc["ChampsRecurrents"][0]["key"], "Report_Montant");
  EXPECT_EQ(doc["ChampsRecurrents"][1]["Nom"], "Page_Numéro");
  const Json* copy = FindBy(doc["Pages"][1]["Champs"], "Nom", "Report_Montant");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ((*copy)["ChampRecurrentDeRef"], "Report_Montant");
}

TEST(CliDump, MembersFollowTheModel) {
  const Json dump = Dump({Sample("menuiseries.xml")});
  const Json& doc = dump["documents"][0];
  const std::vector<std::string> doc_keys = {
      "Id", "Orientation", "HauteurChamp", "Type_calage", "image_pixels_largeur", "image_pixels_hauteur",
      "feuille_cm_largeur", "feuille_cm_hauteur", "X1_cm", "Y1_cm", "X1_pixel", "Y1_pixel", "X2_cm", "Y2_cm",
      "X2_pixel", "Y2_pixel", "résolution_papier_largeur", "résolution_papier_hauteur", "image_OrigineX_cm",
      "image_OrigineY_cm", "imprimante_OrigineX_cm", "imprimante_OrigineY_cm", "Répertoire_Document",
      "Type_Document", "champ_largeur_cm", "numero_page", "Decimales", "TVA", "bFondGrise", "FichierMDN",
      "SepDecExt", "Donnees_a_Sauvegarder", "Marquage_a_Sauvegarder", "Police_pixels_écran",
      "Police_texte_pixels_écran", "champ_largeur_pixels", "Nom_Document", "ShortName", "Devise", "iDevise",
      "FonteName", "FonteSize", "Font", "Docs", "Pages", "Regles_V", "Regles_H", "Champs", "ChampsCachés",
      "ChampsFormules", "ChampsRecurrents", "champsContenantReference", "champsDataContrat"};
  EXPECT_EQ(Keys(doc), doc_keys);
  const std::vector<std::string> font_keys = {"FontName", "FontSize", "FontSpecial", "Bold", "Italic",
                                              "Underligne", "StrikeThrough", "BackColor", "FontColor",
                                              "Transparent", "Alignement"};
  std::vector<std::string> ruler_keys = {"key", "Id", "Nom", "Position_cm_X", "Position_cm_Y", "Position_pixel_X",
                                         "Position_pixel_Y", "Décimales", "largeur_cm", "largeur_pixel",
                                         "hauteur_pixel", "Imprimable", "Déplacement", "Numéro", "TypeLigne",
                                         "Level", "Operande1", "Operande2", "Operateur", "bNew", "iClass"};
  ruler_keys.insert(ruler_keys.end(), font_keys.begin(), font_keys.end());
  ruler_keys.push_back("Page");
  EXPECT_EQ(Keys(doc["Regles_V"][0]), ruler_keys);
  EXPECT_EQ(Keys(doc["Regles_H"][0]), ruler_keys);
  std::vector<std::string> field_keys = {
      "key", "Position_cm_Left", "Position_cm_Top", "Position_cm_Bottom", "Position_cm_Right",
      "Position_pixel_Left", "Position_pixel_Top", "Position_pixel_Bottom", "Position_pixel_Right", "bPropage",
      "Accrochage_H_Type", "Id", "OldFormule", "NonImprime0", "ValeurNonImp", "Déplacement", "Numéro",
      "DonnéesImportées", "NumChamp", "HasTranslatted", "NoData", "iClass", "bCalculed", "ReNamed", "Page",
      "SubName", "Nom", "NomRegleH", "NomRegleV", "InitialValue", "valeur", "Formule", "Type_Champ", "Décimales",
      "Imprimable", "Recurrent", "ChampRecurrentDeRef", "Accrochage_V", "Accrochage_H", "Accrochage_V_Type",
      "IsDataContrat", "Label", "IsOptional", "Groupe", "ToReport"};
  field_keys.insert(field_keys.end(), font_keys.begin(), font_keys.end());
  field_keys.push_back("oRegleH");
  field_keys.push_back("oRegleV");
  EXPECT_EQ(Keys(doc["Champs"][0]), field_keys);
  EXPECT_EQ(Keys(doc["Pages"][0]), (std::vector<std::string>{"key", "Id", "Width", "Height", "NoImage",
                                                              "hResolution", "vResolution", "Regles_H", "Champs"}));
  EXPECT_EQ(Keys(doc["Font"]), (std::vector<std::string>{"Name", "Size", "Color", "BackColor", "Transparent", "Bold",
                                                         "Italic", "Underline", "StrikeThrough", "Alignment",
                                                         "Has"}));
  EXPECT_EQ(Keys(dump["catalogue"]), (std::vector<std::string>{"Name", "FullPath", "Path", "File", "Font", "oDevises"}));
}

TEST(CliDump, CatalogueWithSharedRowsDataContractAndPageCells) {
  const Json dump = Dump({Sample("menuiseries.xml")});
  const Json& cat = dump["catalogue"];
  EXPECT_EQ(cat["Name"], "Menuiseries intérieures");
  EXPECT_EQ(cat["File"], "menuiseries.xml");
  EXPECT_EQ(cat["Path"], std::string(MANDOR_SAMPLES_DIR) + "/");
  EXPECT_EQ(cat["Font"]["Name"], "Arial");
  EXPECT_EQ(cat["Font"]["Has"], Json::array({"Size"}));  // Arial is the built-in name
  EXPECT_EQ(cat["oDevises"]["Defaut"], "EUR");
  ASSERT_GE(cat["oDevises"]["entries"].size(), 1u);
  EXPECT_EQ(cat["oDevises"]["entries"][0]["key"], "EUR(Defaut)");
  EXPECT_EQ(cat["oDevises"]["entries"][0]["code"], "EUR");

  const Json& docs = dump["documents"];
  ASSERT_EQ(docs.size(), 3u);
  EXPECT_EQ(docs[0]["Id"], "mn1");
  EXPECT_EQ(docs[2]["Type_Document"], "AE");
  for (const Json& doc : docs) EXPECT_EQ(doc["TVA"], 20);
  // A row shared by the DQE and the BPU: one cell, a field on each.
  const Json* dqe_price = FindBy(docs[0]["Champs"], "Nom", "L1_PU");
  const Json* bpu_price = FindBy(docs[1]["Champs"], "Nom", "L1_PU");
  ASSERT_NE(dqe_price, nullptr);
  ASSERT_NE(bpu_price, nullptr);
  EXPECT_EQ((*dqe_price)["Position_pixel_Left"], 1765);
  EXPECT_EQ((*bpu_price)["Position_pixel_Left"], 1900);
  // The document font inherits from the catalogue font, a column's font from it.
  EXPECT_EQ(docs[2]["Font"]["Name"], "Times New Roman");
  EXPECT_EQ(docs[0]["Font"]["Name"], "Arial");
  EXPECT_EQ(docs[2]["Font"]["Has"], Json::array({"Name", "Size"}));
  const Json* total = FindBy(docs[0]["Champs"], "Nom", "L1_PT");
  ASSERT_NE(total, nullptr);
  EXPECT_EQ((*total)["Bold"], true);
  EXPECT_EQ((*total)["FontColor"], 8388608);
  // A page-level cell has no row.
  const Json* carried = FindBy(docs[0]["Pages"][0]["Champs"], "Nom", "TA1");
  ASSERT_NE(carried, nullptr);
  EXPECT_TRUE((*carried)["oRegleH"].is_null());
  EXPECT_EQ((*carried)["Formule"], "SOMME(PT)");
  // Recurrent fields and the data contract.
  const Json* number = FindBy(docs[0]["Champs"], "Nom", "Page_Numéro");
  ASSERT_NE(number, nullptr);
  EXPECT_EQ((*number)["Recurrent"], true);
  ASSERT_EQ(docs[2]["champsDataContrat"].size(), 4u);
  const Json* siret = FindBy(docs[2]["champsDataContrat"], "Nom", "SIRET");
  ASSERT_NE(siret, nullptr);
  EXPECT_EQ((*siret)["Label"], "N° SIRET");
  EXPECT_EQ((*siret)["IsDataContrat"], true);
  EXPECT_EQ((*siret)["IsOptional"], false);
  EXPECT_EQ((*siret)["Groupe"], "Candidat");
  EXPECT_EQ((*siret)["InitialValue"], "412 345 678 00021");
  const Json* name = FindBy(docs[2]["Champs"], "Nom", "RaisonSociale");
  ASSERT_NE(name, nullptr);
  EXPECT_EQ((*name)["valeur"], "Menuiserie Lefèvre & Fils");

  const Json one = Dump({Sample("menuiseries.xml"), "--doc", "mn3"});
  ASSERT_EQ(one["documents"].size(), 1u);
  EXPECT_EQ(one["documents"][0]["Id"], "mn3");
  EXPECT_FALSE(one["catalogue"].is_null());
}

TEST(CliDump, FloatsAreShortestAndCalageComputes) {
  // 20.6 and 2244.5 are floats in the model: written as typed, not widened.
  const CliResult r = RunCli({"dump", Fixture("textfile/bordereau.bpx.xnf")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"TVA\": 20.6,"), std::string::npos);
  EXPECT_NE(r.out.find("\"X2_pixel\": 2244.5,"), std::string::npos);
  EXPECT_NE(r.out.find("\"Y2_cm\": 27.25,"), std::string::npos);
  const Json plain = ParseJson(r.out);
  EXPECT_EQ(plain["documents"][0]["TVA"].get<double>(), 20.6);
  EXPECT_EQ(plain["documents"][0]["résolution_papier_largeur"], 0);

  // --calage: two reference points 2008.5 px over 17 cm apart.
  const Json calage = Dump({Fixture("textfile/bordereau.bpx.xnf"), "--calage"});
  const Json& doc = calage["documents"][0];
  const float expected = (2244.5f - 236.0f) / (19.0f - 2.0f);
  EXPECT_EQ(doc["résolution_papier_largeur"].get<float>(), expected);
  EXPECT_EQ(doc["champ_largeur_pixels"], std::lround(3.5f * expected));
  EXPECT_EQ(calage["messages"], Json::array());

  // A calibration of unknown type: the library's message reaches both the
  // JSON and standard error.
  const CliResult unknown = RunCli({"dump", Sample("menuiseries.xml"), "--doc", "mn1", "--calage"});
  ASSERT_EQ(unknown.status, 0) << unknown.err;
  const Json messages = ParseJson(unknown.out)["messages"];
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["title"], "MandorDLL");
  EXPECT_EQ(messages[0]["style"], "plain");
  EXPECT_EQ(messages[0]["text"], "type de calage inconnu dans calculerparamètrescalage: 0");
  EXPECT_EQ(unknown.ErrLines(),
            (std::vector<std::string>{"[MandorDLL] type de calage inconnu dans calculerparamètrescalage: 0"}));
}

TEST(CliDump, SameModelInBothLocales) {
  for (const std::string& path : {Sample("menuiseries.xml"), Sample("dqe-menuiseries.det.cnf")}) {
    const Json fr = Dump({path, "--locale", "fr"});
    const Json en = Dump({path, "--locale", "en"});
    ASSERT_EQ(fr["documents"].size(), en["documents"].size());
    for (size_t i = 0; i < fr["documents"].size(); ++i) {
      EXPECT_EQ(fr["documents"][i]["Pages"], en["documents"][i]["Pages"]) << path;
      EXPECT_EQ(fr["documents"][i]["Regles_V"], en["documents"][i]["Regles_V"]) << path;
      EXPECT_EQ(fr["documents"][i]["TVA"], en["documents"][i]["TVA"]) << path;
    }
  }
}

}  // namespace
}  // namespace mandor_cli_test
