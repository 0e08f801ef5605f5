' A host's session on a catalogue: read the workbook, walk documents, pages
' and fields, change a value and a font, save, and read the result back.

Step "create an empty catalogue"
Dim cat
Set cat = CreateObject("MandorDLL.cMarquage")
CheckEqual cat.Count, 0, "a new catalogue is empty"
Check cat.Font Is Nothing, "no catalogue font before reading"

Step "read the catalogue file"
Dim same
Set same = cat.XML_ReadCNF(DataDir & "menuiseries.xml")
Check same Is cat, "XML_ReadCNF returns the catalogue itself"
CheckEqual cat.Count, 3, "documents read"
CheckEqual cat.Name, "Menuiseries intérieures", "catalogue name"
CheckEqual cat.Font.Name, "Arial", "catalogue font"
CheckEqual cat.Item("mn1").Id, "mn1", "document by key"
CheckEqual cat(2).Id, "mn2", "document by position through the default member"
CheckEqual cat.item("MN3").Type_Document, "AE", "keys and names without regard to case"

Step "walk documents, pages and fields with For Each"
Dim doc, page, champ, ids, pageFields, docFields
ids = ""
For Each doc In cat
  ids = ids & doc.Id & " "
Next
CheckEqual ids, "mn1 mn2 mn3 ", "documents in order"
Set doc = cat("mn1")
CheckEqual doc.Pages.Count, 2, "pages of mn1"
pageFields = 0
For Each page In doc.Pages
  For Each champ In page.Champs
    pageFields = pageFields + 1
    Check champ.oOwnerMandor Is doc, "field " & champ.Nom & " points to its document"
  Next
Next
CheckEqual pageFields, 29, "fields on the pages of mn1"
docFields = 0
For Each champ In doc.Champs
  docFields = docFields + 1
Next
CheckEqual docFields, doc.Champs.Count, "For Each and Count agree"
CheckEqual doc.Pages("page_2").Champs.Count, 10, "fields of page 2 by key"
Check doc.Pages(1) Is doc.Pages("page_1"), "the same page object by position and by key"
Check doc.Pages(1).oOwnerMandor Is doc, "page back-link"
CheckEqual doc.Regles_V.Count, 4, "vertical rulers"

Step "change a value and a font"
Set champ = doc.Champs("L1_Qté")
CheckEqual champ.valeur, "", "a quantity has no stored value"
CheckEqual cat("mn3").Champs("RaisonSociale").valeur, "Menuiserie Lefèvre & Fils", "a stored value"
champ.valeur(True) = "15"
champ.valeur = "16"
CheckEqual champ.Valeur, "16", "new value"
CheckEqual champ.InitialValue, "15", "valeur(True) = ... set the initial value"
Check champ.ValueChanged, "ValueChanged after the change"
champ.Bold = True
champ.FontName = "Courier New"
CheckEqual champ.Font.Name, "Courier New", "font name through the field's font"
Check champ.Font.HasName, "the field font overrides the name"
doc.Donnees_a_Sauvegarder = True
Dim act
Set act = cat("mn3")
act.Champs("RaisonSociale").valeur = "Menuiserie Lefèvre et Fils SA"

Step "save with SauvegarderMarquageXml"
CheckEqual doc.SauvegarderMarquageXml(doc), True, "saved mn1"
CheckEqual act.SauvegarderMarquageXml(act), True, "saved mn3"

Step "read the saved catalogue"
Dim cat2, champ2
Set cat2 = CreateObject("MandorDLL.cMarquage")
cat2.XML_ReadCNF DataDir & "menuiseries.xml"
CheckEqual cat2.Count, 3, "documents after saving"
Set champ2 = cat2("mn1").Champs("L1_QTÉ")
CheckEqual cat2("mn3").Champs("raisonsociale").valeur, "Menuiserie Lefèvre et Fils SA", "value saved"
CheckEqual champ2.Bold, True, "bold saved"
CheckEqual champ2.FontName, "Courier New", "font name saved"
Check Not (champ2 Is champ), "a new catalogue has new objects"

Step "catalogue errors"
On Error Resume Next
Dim missing
Set missing = cat.Item("mn9")
CheckEqual Err.Number, 5, "missing key"
Err.Clear
Set missing = cat.Item(4)
CheckEqual Err.Number, 9, "position out of range"
Err.Clear
cat.NoSuchMember
CheckEqual Err.Number, 438, "unknown member"
Err.Clear
cat.AddItemWithNode Nothing
CheckEqual Err.Number, 5, "XML node members are not available"
Check InStr(Err.Description, "not available through automation") > 0, "and say so: " & Err.Description
Err.Clear
On Error GoTo 0

Step "remove and clear"
cat.Remove "mn2"
CheckEqual cat.Count, 2, "after Remove by key"
cat.Remove 1
CheckEqual cat(1).Id, "mn3", "after Remove by position"
cat.Clear
CheckEqual cat.Count, 0, "after Clear"

Finish
