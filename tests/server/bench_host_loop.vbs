' The host-loop benchmark: a host script walks 20 000 fields of a document
' and reads five properties of each, against the same loop over objects of a
' VBScript class of the host's own (the floor). Run by bench_host_loop.sh.
Option Explicit
Const kFields = 20000
Const kRounds = 3

Class HostField
  Public Nom
  Public Position_pixel_Left
  Public valeur
  Public Bold
  Public Page
End Class

Dim doc, ch, i, h
Dim own(19999)  ' kFields - 1 (a fixed size: Wine's VBScript fails on ReDim here)
Set doc = CreateObject("MandorDLL.Mandor")
For i = 1 To kFields
  Set ch = CreateObject("MandorDLL.CChamp")
  ch.Nom = "L" & i & "_PU"
  ch.Position_pixel_Left = i
  ch.valeur = CStr(i * 3)
  ch.Bold = (i Mod 2 = 0)
  ch.Page = 1 + i \ 40
  doc.Champs.Add ch, ch.Nom
  Set h = New HostField
  h.Nom = ch.Nom
  h.Position_pixel_Left = ch.Position_pixel_Left
  h.valeur = ch.valeur
  h.Bold = ch.Bold
  h.Page = ch.Page
  Set own(i - 1) = h
Next

' The best of kRounds runs of the five reads over items (the document's
' collection or the host's array), in seconds.
Dim a, b, c, d, e, t, best, pass
Function TimeReads(items)
  best = 1E9
  For pass = 1 To kRounds
    t = Timer
    For Each ch In items
      a = ch.Nom: b = ch.Position_pixel_Left: c = ch.valeur: d = ch.Bold: e = ch.Page
    Next
    If Timer - t < best Then best = Timer - t
  Next
  TimeReads = best
End Function

' The walk alone, and one property at a time, to see where the time goes.
Function WalkOnly()
  best = 1E9
  For pass = 1 To kRounds
    t = Timer
    For Each ch In doc.Champs
    Next
    If Timer - t < best Then best = Timer - t
  Next
  WalkOnly = best
End Function

Dim server, host, walk
server = TimeReads(doc.Champs)
host = TimeReads(own)
walk = WalkOnly()
WScript.Echo "fields: " & kFields & ", properties read: 5 each, best of " & kRounds
WScript.Echo "server objects: " & FormatNumber(server * 1000, 0) & " ms"
WScript.Echo "host class:     " & FormatNumber(host * 1000, 0) & " ms"
If host > 0 Then WScript.Echo "ratio:          " & FormatNumber(server / host, 1)
WScript.Echo "walk alone:     " & FormatNumber(walk * 1000, 0) & " ms (For Each over doc.Champs, no property read)"
WScript.Echo "per property:   " & FormatNumber((server - walk) / (5 * kFields) * 1E6, 2) & " us on the server, " & _
  FormatNumber(host / (5 * kFields) * 1E6, 2) & " us on the host class"
