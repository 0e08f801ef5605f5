' The classes one by one: creation by ProgID, properties and methods with
' optional and by-reference arguments, object identity, currencies, font
' inheritance, the host's image object of an engagement act, the errors a
' host sees, and the registration.

Step "every public class is creatable"
Dim progIds, p, o
progIds = Array("Mandor", "cMarquage", "CChamp", "CPage", "CRegle", "CFont", "Devise", "Devises", "Doc")
For Each p In progIds
  Set o = CreateObject("MandorDLL." & p)
  Check Not (o Is Nothing), "MandorDLL." & p
Next

Step "pages, rulers and fields"
Dim doc, page, regle, champ
Set doc = CreateObject("MandorDLL.Mandor")
Set page = CreateObject("MandorDLL.CPage")
doc.Pages.Add page, "page_1"
Set page.oOwnerMandor = doc
doc.numero_page = 1
Check doc.PageCourante Is page, "PageCourante"
doc.numero_page = 2
Check doc.PageCourante Is Nothing, "no page 2"
page.SetSize 150, 300, 2480, 3508
CheckEqual page.vResolution, 150, "SetSize takes the vertical resolution first"
CheckNear page.Width_Point, 2480 / 300 * 72, 0.01, "width in points"
Set regle = CreateObject("MandorDLL.CRegle")
regle.Nom = "Qté"
doc.Regles_V.Add regle, regle.Nom
Check doc.RegleV("QTÉ") Is regle, "ruler by name without regard to case"
Check doc.RegleH("Qté") Is Nothing, "no such row ruler"
regle.WidthChamp = 240
CheckEqual regle.largeur_cm, 2, "WidthChamp sets the width in cm"
Set champ = CreateObject("MandorDLL.CChamp")
Set champ.oOwnerMandor = doc
Set champ.oRegleV = regle
Check champ.oRegleV Is regle, "object property set and read back"
Set champ.oRegleV = Nothing
Check champ.oRegleV Is Nothing, "set to Nothing"
Set regle.Etiquette = page
Check regle.Etiquette Is page, "an object in the host's slot"

Step "collections replaced by reference"
Dim doc2
Set doc2 = CreateObject("MandorDLL.Mandor")
Set doc2.Pages = doc.Pages
CheckEqual doc2.Pages.Count, 1, "pages copied"
Check doc2.Pages(1) Is page, "the same page"
doc.Pages.Add CreateObject("MandorDLL.CPage"), "page_0", 1
CheckEqual doc.Pages(1).Id, "", "inserted before"
CheckEqual doc.Pages.Count, 2, "count after the insertion"

Step "optional and by-reference arguments"
Dim parts, number, bNew
doc.DécomposerChaîne "Type = 2", parts, "="
CheckEqual UBound(parts), 2, "parts"
CheckEqual parts(1), "Type", "first part"
CheckEqual parts(2), "2", "second part"
CheckEqual doc.FindValue(Array("", "Fonte=Arial", "Points=10"), "points"), "10", "FindValue over an array"
number = "1 234"
CheckEqual doc.EnleveCar(number, " "), "1234", "EnleveCar result"
CheckEqual number, "1234", "EnleveCar changes its argument"
CheckEqual doc.ChangeSepMarquage("a|b", 1), "a" & Chr(127) & "b", "escaping"
CheckEqual doc.ChangeSepMarquage("a" & Chr(127) & "b"), "a|b", "iType omitted: unescaping"
bNew = True
regle.ToggleVersion bNew
CheckEqual regle.isNewVersion, True, "ToggleVersion"

Step "fonts inherit"
Dim parent, font
Set parent = CreateObject("MandorDLL.CFont")
parent.Name = "Times New Roman"
parent.Size = 12
Set font = CreateObject("MandorDLL.CFont")
Set font.ParentFont1 = parent
CheckEqual font.Name, "Times New Roman", "name inherited"
Check Not font.HasName, "not set locally"
font.Size = 100
CheckEqual font.Size, 72, "size clamped"
font.Size = 12
Check Not font.HasSize, "a size equal to the inherited one clears the override"
parent.Bold = True
CheckEqual font.Bold, True, "a change in the parent shows at once"
CheckEqual font.ALIGN_CENTER, "2", "constant"
Set doc.Font = font
Check doc.Font Is font, "the document font is the font set"
doc.FonteSize = 14
CheckEqual font.Size, 14, "FonteSize writes the document font"
doc.FonteSize_nombre = 9
CheckEqual doc.FonteSize, 9, "FonteSize_nombre is the same attribute"

Step "currencies"
Dim ds, dv, codes
Set ds = CreateObject("MandorDLL.Devises")
CheckEqual ds.Count, 1, "the built-in euro"
CheckEqual ds(0).code, "EUR", "position 0 through the default member"
CheckEqual ds.Item(0).Unite, "EURO", "unit"
ds.AddDevise "USD", "DOLLAR", "CENT"
CheckEqual ds.Item("USD").PostUnite, "", "optional arguments left empty"
CheckEqual ds.FindPos("USD"), 1, "position of USD"
Check ds.Find("usd"), "keys without regard to case"
Set dv = CreateObject("MandorDLL.Devise")
dv.code = "CHF"
dv.Unite = "FRANC"
ds.Add dv
Check ds.Item("CHF") Is dv, "the same currency object"
codes = ""
For Each dv In ds
  codes = codes & dv.code & " "
Next
CheckEqual codes, "EUR USD CHF ", "For Each over the currencies"
ds.Defaut = ""
CheckEqual ds.Defaut, "FRF", "an empty default stores FRF"

Step "errors reach the host with their numbers"
On Error Resume Next
doc.Nom_Document = "ab"
CheckEqual Err.Number, 5, "name too short"
CheckEqual Err.Source, "MandorDLL", "source"
Err.Clear
doc.Pages.Add page, "PAGE_1"
CheckEqual Err.Number, 457, "duplicate key"
Err.Clear
Set o = doc.Pages(7)
CheckEqual Err.Number, 9, "index out of range"
Err.Clear
ds.AddDevise "USD", "DOLLAR", "CENT"
CheckEqual Err.Number, 457, "duplicate currency"
Err.Clear
Set o = ds.Item("XXX")
CheckEqual Err.Number, 5, "missing currency"
Err.Clear
page.hResolution = 0
n = page.Width_Point
CheckEqual Err.Number, 11, "division by a zero resolution"
Err.Clear
doc.numero_page = "abc"
CheckEqual Err.Number, 13, "type mismatch"
Err.Clear
doc.numero_page = 100000
CheckEqual Err.Number, 6, "overflow"
Err.Clear
font.Alignment = "left"
CheckEqual Err.Number, 13, "a non-numeric alignment"
Err.Clear
doc.WritePage 1
CheckEqual Err.Number, 5, "file-number members are not available"
Err.Clear
doc.NoSuchMethod 1
CheckEqual Err.Number, 438, "unknown member"
Err.Clear
Set o = CreateObject("MandorDLL.NoSuchClass")
CheckEqual Err.Number, 429, "unknown class"
Err.Clear
On Error GoTo 0

Step "an engagement act from the host's image object"
Class FakeImage
  Public Current
  Public Function File()
    File = "Acte Lot 2.pdf"
  End Function
  Public Function PageCount()
    PageCount = 2
  End Function
  Public Sub SelectPage(n)
    Current = n
  End Sub
  Public Function Width()
    Width = 1600 + 100 * Current
  End Function
  Public Function Height()
    Height = 2339
  End Function
  Public Function HResol()
    HResol = 200
  End Function
  Public Function VResol()
    VResol = 200
  End Function
End Class

Class NoPages
  Public Function File()
    File = "Vide.pdf"
  End Function
End Class

Dim cat, act, image, cat2
Set cat = CreateObject("MandorDLL.cMarquage")
cat.XML_ReadCNF DataDir & "menuiseries.xml"
Set act = CreateObject("MandorDLL.Mandor")
act.Orientation = 1
act.Devise = "EUR"
Set image = New FakeImage
Check cat.XML_AddNewAE(act, image) Is act, "the act comes back"
CheckEqual image.Current, 2, "pages selected through the image object"
CheckEqual act.Id, "mn3", "the act replaces the catalogue's act"
CheckEqual act.Pages.Count, 2, "pages from the image"
CheckEqual act.Pages("page_2").Width, 1800, "size of page 2"
Check act.oOwnerMarquage Is cat, "owned by the catalogue"
Set cat2 = CreateObject("MandorDLL.cMarquage")
cat2.XML_ReadCNF DataDir & "menuiseries.xml"
CheckEqual cat2.Count, 3, "documents in the saved catalogue"
CheckEqual cat2("mn3").Pages.Count, 2, "the act's pages saved"
On Error Resume Next
cat.XML_AddNewAE CreateObject("MandorDLL.Mandor"), New NoPages
CheckEqual Err.Number, 438, "an image object without PageCount"
Err.Clear
cat.XML_AddNewAE CreateObject("MandorDLL.Mandor"), "not an object"
CheckEqual Err.Number, 13, "an image that is no object"
Err.Clear
On Error GoTo 0

Step "registration"
Dim shell
Set shell = CreateObject("WScript.Shell")
CheckEqual shell.RegRead("HKCR\MandorDLL.Mandor\CLSID\"), "{3B5DAC2F-9542-5DE2-B812-8DA8122896BA}", "ProgID"
CheckEqual shell.RegRead("HKCR\CLSID\{3B5DAC2F-9542-5DE2-B812-8DA8122896BA}\InprocServer32\ThreadingModel"), _
  "Apartment", "threading model"
CheckEqual shell.RegRead("HKCR\Interface\{D42AC75C-FF48-5B8F-B0DA-C04F5907F032}\"), "_Mandor", "interface registered"
CheckEqual shell.RegRead("HKCR\Interface\{33191438-DBFC-5F6A-8A8B-2F4F587BC0C8}\"), "_CChamp", "interface registered"
CheckEqual TypeName(doc), "_Mandor", "type information of a document"
CheckEqual TypeName(doc.Pages), "_CPageCollection", "type information of a collection of pages"
CheckEqual TypeName(doc.Champs), "_CChampCollection", "type information of a collection of fields"

Finish
