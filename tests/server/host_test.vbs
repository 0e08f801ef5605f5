' The server used the way Windows hosts use it: saves repeated on the same
' marking, objects kept after their owners went out of the host's scope,
' object slots, by-reference arguments and collection placement.

Dim fso
Set fso = CreateObject("Scripting.FileSystemObject")

Function ReadText(path)
  Dim f
  Set f = fso.OpenTextFile(path, 1)
  ReadText = f.ReadAll
  f.Close
End Function

Step "a text marking saved three times in a row"
Dim m, i, result, saved, backup
Set m = CreateObject("MandorDLL.Mandor")
m.Répertoire_Document = DataDir
m.Nom_Document = "dqe-menuiseries.det"
Check m.RestaurerMarquage, "the marking is read"
Check Not fso.FileExists(DataDir & "dqe-menuiseries.det.xak"), "no backup before the first save"
For i = 1 To 3
  m.TVA = 10 + i
  On Error Resume Next
  result = m.SauvegarderMarquageEx(True)
  CheckEqual Err.Number, 0, "save " & i & " raises no error"
  Err.Clear
  On Error GoTo 0
  CheckEqual result, 0, "save " & i & " returns 0"
  saved = ReadText(DataDir & "dqe-menuiseries.det.xnf")
  Check InStr(saved, "TVA=" & (10 + i) & vbCrLf) > 0, "save " & i & " wrote the new rate"
  Check InStr(saved, "[Pages]") > 0, "save " & i & " wrote the whole marking"
  backup = ReadText(DataDir & "dqe-menuiseries.det.xak")
  If i > 1 Then
    Check InStr(backup, "TVA=" & (9 + i) & vbCrLf) > 0, "save " & i & " kept the previous save as backup"
  End If
Next
Dim again
Set again = CreateObject("MandorDLL.Mandor")
again.Répertoire_Document = DataDir
again.Nom_Document = "dqe-menuiseries.det"
Check again.RestaurerMarquage, "the third save reads back"
CheckEqual again.TVA, 13, "the rate of the third save"
CheckEqual again.Champs.Count, m.Champs.Count, "every field saved"

Step "a document kept alone keeps its catalogue"
Function OpenDocument(key)
  Dim cat
  Set cat = CreateObject("MandorDLL.cMarquage")
  cat.XML_ReadCNF DataDir & "menuiseries.xml"
  Set OpenDocument = cat(key)
End Function
Dim doc, owner
Set doc = OpenDocument("mn1")
Set owner = doc.oOwnerMarquage
Check Not (owner Is Nothing), "the catalogue outlives the host's variable"
If Not (owner Is Nothing) Then CheckEqual owner.Count, 3, "with all its documents"
Set owner = Nothing
doc.Champs("L1_Qté").FontName = "Courier New"
CheckEqual doc.SauvegarderMarquageXml(doc), True, "the document kept alone still saves"
Dim reread
Set reread = CreateObject("MandorDLL.cMarquage")
reread.XML_ReadCNF DataDir & "menuiseries.xml"
CheckEqual reread("mn1").Champs("L1_Qté").FontName, "Courier New", "what it saved"
Set reread = Nothing

Step "a field kept alone keeps its document and page"
Function OpenField(name)
  Set OpenField = OpenDocument("mn1").Champs(name)
End Function
Dim champ
Set champ = OpenField("L1_Qté")
Check Not (champ.oOwnerMandor Is Nothing), "its document"
Check Not (champ.oOwnerPage Is Nothing), "its page"
If Not (champ.oOwnerMandor Is Nothing) Then
  CheckEqual champ.oOwnerMandor.Id, "mn1", "the right document"
  Check Not (champ.oOwnerMandor.oOwnerMarquage Is Nothing), "and the document's catalogue"
End If
Check champ.Position_point_Left > 0, "positions in points from its page"
CheckNear champ.Position_point_Left, champ.Position_pixel_Left / champ.oOwnerPage.hResolution * 72, 0.01, _
  "through the page's resolution"

Step "a collection kept alone keeps its page and document"
Function OpenPageFields()
  Set OpenPageFields = OpenDocument("mn1").Pages(1).Champs
End Function
Dim fields
Set fields = OpenPageFields()
CheckEqual fields.Count, 19, "fields of page 1"
Check Not (fields(1).oOwnerMandor Is Nothing), "a field of the collection still has its document"
Check Not (fields(1).oOwnerPage Is Nothing), "and its page"

Step "an owner set by the host is kept"
Dim page, field
Set field = CreateObject("MandorDLL.CChamp")
Set page = CreateObject("MandorDLL.CPage")
Set field.oOwnerPage = page
Set field.oOwnerMandor = CreateObject("MandorDLL.Mandor")
field.oOwnerMandor.Id = "kept"
Set page = Nothing
Check Not (field.oOwnerPage Is Nothing), "the page the host let go"
CheckEqual field.oOwnerMandor.Id, "kept", "the document created in the assignment"

Step "Controle and Etiquette are object references"
Dim ch, regle
Set ch = CreateObject("MandorDLL.CChamp")
Check ch.Controle Is Nothing, "a new field's Controle is Nothing"
Set regle = CreateObject("MandorDLL.CRegle")
Check regle.Controle Is Nothing, "a new ruler's Controle is Nothing"
Check regle.Etiquette Is Nothing, "a new ruler's Etiquette is Nothing"
Set ch.Controle = fso
Check ch.Controle Is fso, "the host's object comes back as itself"
Set regle.Etiquette = ch
Check regle.Etiquette Is ch, "a model object in the slot"
Set regle.Etiquette = Nothing
Check regle.Etiquette Is Nothing, "Nothing clears the slot"
On Error Resume Next
ch.Controle = 5
CheckEqual Err.Number, 13, "a number is no object"
Err.Clear
On Error GoTo 0
Check ch.Controle Is fso, "a refused assignment leaves the slot as it was"
Set ch.Controle = Nothing

Step "by-reference arguments are written back only when changed"
Dim flag, number
flag = CInt(1)
regle.ToggleVersion flag
CheckEqual TypeName(flag), "Integer", "ToggleVersion leaves the host's Integer an Integer"
CheckEqual flag, 1, "and its value"
Check regle.isNewVersion, "the flag is taken"
number = "1 234"
CheckEqual m.EnleveCar(number, " "), "1234", "EnleveCar's result"
CheckEqual number, "1234", "EnleveCar changes its argument"
number = 1234
m.EnleveCar number, " "
CheckEqual TypeName(number), "Integer", "an unchanged argument keeps its type"

Step "Add with Before and After"
Dim pages
Set pages = CreateObject("MandorDLL.Mandor").Pages
pages.Add CreateObject("MandorDLL.CPage"), "a"
pages.Add CreateObject("MandorDLL.CPage"), "b"
On Error Resume Next
pages.Add CreateObject("MandorDLL.CPage"), "c", 1, 2
CheckEqual Err.Number, 5, "Before and After together"
Err.Clear
On Error GoTo 0
CheckEqual pages.Count, 2, "nothing added"
pages.Add CreateObject("MandorDLL.CPage"), "c", , "a"
CheckEqual pages.Count, 3, "After alone"
Check pages(2) Is pages("c"), "placed after a"

Finish
