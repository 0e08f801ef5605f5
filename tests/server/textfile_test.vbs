' Text markings: restore the ".xnf" marking of the sample estimate, compute
' its calibration, save it in both layouts and restore what was saved.

Step "restore a text marking"
Dim doc, page, champ, n
Set doc = CreateObject("MandorDLL.Mandor")
doc.Répertoire_Document = DataDir
doc.Nom_Document = "dqe-menuiseries.det"
CheckEqual doc.Type_Document, doc.DOCUMENT_DETAIL, "type from the name"
CheckEqual doc.ShortName, "dqe-menuiseries.", "short name"
CheckEqual doc.RÉPERTOIRE_DOCUMENT, DataDir, "accented member names without regard to case"
CheckEqual doc.RestaurerMarquage, True, "restored"
CheckEqual doc.Pages.Count, 2, "pages"
CheckEqual doc.Regles_V.Count, 5, "vertical rulers"
CheckEqual doc.Type_calage, 2, "calibration type"
CheckEqual doc.Docs.Count, 1, "source documents"
CheckEqual doc.Docs(1).Fichier, "Quantités Menuiseries.csv", "source file"
CheckEqual doc.Docs(1).Séparateur, ";", "source separator"
CheckEqual doc.ChampsRecurrents.Count, 2, "recurrent fields"
CheckEqual doc.FonteName, "Arial", "document font"
n = 0
For Each page In doc.Pages
  For Each champ In page.Champs
    n = n + 1
  Next
Next
CheckEqual n, doc.Pages(1).Champs.Count + doc.Pages(2).Champs.Count, "For Each over the pages' fields"
Set champ = doc.Pages(1).Champs("L1_Qté")
CheckEqual champ.oRegleV.Nom, "Qté", "anchored to its column"
CheckEqual champ.oRegleH.Nom, "L1", "anchored to its row"
CheckEqual champ.NomRegleV, "Qté", "column name"
Check champ.oRegleV Is doc.RegleV("QTÉ"), "the same ruler object from the document"

Step "compute the calibration from two points"
doc.champ_largeur_cm = 2.5
CheckEqual doc.CalculerParamètresCalage, True, "computed"
CheckNear doc.résolution_papier_largeur, (2244 - 236) / (19 - 2), 0.001, "pixels per cm across"
CheckNear doc.résolution_papier_hauteur, (3189 - 354) / (27 - 3), 0.001, "pixels per cm down"
CheckNear doc.image_OrigineX_cm, 2 - 236 / ((2244 - 236) / (19 - 2)), 0.0001, "image origin x"
CheckNear doc.image_OrigineY_cm, 3 - 354 / ((3189 - 354) / (27 - 3)), 0.0001, "image origin y"
CheckEqual doc.champ_largeur_pixels, 295, "field width in pixels"
CheckEqual doc.Police_pixels_écran, 42, "10 pt in screen pixels"
CheckEqual doc.Police_texte_pixels_écran, 42, "text font in screen pixels"

Step "compute the calibration from the sheet size"
doc.Type_calage = 1
doc.image_pixels_largeur = 2480
doc.image_pixels_hauteur = 3508
doc.feuille_cm_largeur = 21
doc.feuille_cm_hauteur = 29.7
CheckEqual doc.CalculerParamètresCalage, True, "computed"
CheckNear doc.résolution_papier_largeur, 2480 / 21, 0.001, "pixels per cm across"
CheckNear doc.résolution_papier_hauteur, 3508 / 29.7, 0.001, "pixels per cm down"
doc.feuille_cm_largeur = 0
CheckEqual doc.CalculerParamètresCalage, False, "a zero sheet width stops the computation"
doc.Type_calage = 2

Step "change a quantity and a font, save as .xnf"
Dim fso, withQte
Set fso = CreateObject("Scripting.FileSystemObject")
champ.valeur = "20"
doc.Pages(1).Champs("L1_Qté").Italic = True
withQte = True
CheckEqual doc.SauvegarderMarquageEx(True, withQte), 0, "saved (the result is 0)"
CheckEqual withQte, True, "the by-reference flag comes back"
Check fso.FileExists(DataDir & "dqe-menuiseries.det.xak"), "one backup generation kept"

Step "restore what was saved"
Dim doc2, champ2
Set doc2 = CreateObject("MandorDLL.Mandor")
doc2.Répertoire_Document = DataDir
doc2.Nom_Document = "dqe-menuiseries.det"
CheckEqual doc2.RestaurerMarquageEx, -1, "restored from .xnf"
Set champ2 = doc2.Pages(1).Champs("L1_Qté")
CheckEqual Left(champ2.valeur, 2), "20", "quantity saved with WithQte"
CheckEqual champ2.Italic, True, "font saved"
CheckEqual doc2.Pages(1).Champs.Count, doc.Pages(1).Champs.Count, "fields of page 1"

Step "save and restore the standard layout"
fso.DeleteFile DataDir & "dqe-menuiseries.det.cnf"
CheckEqual doc2.SauvegarderMarquageStd, -1, "saved as .cnf"
Check fso.FileExists(DataDir & "dqe-menuiseries.det.cnf"), ".cnf written"
Dim doc3
Set doc3 = CreateObject("MandorDLL.Mandor")
doc3.Répertoire_Document = DataDir
doc3.Nom_Document = "dqe-menuiseries.det"
CheckEqual doc3.RestaurerMarquageStd, True, "restored from .cnf"
CheckEqual doc3.Pages.Count, 2, "pages from .cnf"
CheckEqual doc3.Regles_V.Count, 5, "rulers from .cnf"

Step "an unnamed document is not saved"
Dim blank
Set blank = CreateObject("MandorDLL.Mandor")
CheckEqual blank.SauvegarderMarquageEx(False), -1, "no name: -1"
CheckEqual blank.RestaurerMarquage, False, "nothing to restore"

Finish
