' Shared by the MandorDLL scripts (the runner puts it in front of each one).
' Arguments: the folder of the test's data files, with its trailing "\".
Dim gChecks, gFailures, gStep, DataDir
gChecks = 0
gFailures = 0
gStep = "start"
DataDir = WScript.Arguments(0)

' Names the part of the script that runs, so that a script stopped by an
' unexpected error shows where.
Sub Step(name)
  gStep = name
  WScript.Echo "-- " & name
End Sub

Sub Check(condition, what)
  gChecks = gChecks + 1
  If Not condition Then
    gFailures = gFailures + 1
    WScript.Echo "FAIL [" & gStep & "] " & what
  End If
End Sub

Sub CheckEqual(actual, expected, what)
  gChecks = gChecks + 1
  If actual <> expected Then
    gFailures = gFailures + 1
    WScript.Echo "FAIL [" & gStep & "] " & what & ": expected <" & expected & "> got <" & actual & ">"
  End If
End Sub

Sub CheckNear(actual, expected, tolerance, what)
  CheckEqual Abs(actual - expected) <= tolerance, True, what & " (" & actual & " near " & expected & ")"
End Sub

' Ends the script; the runner fails a script that does not get here.
Sub Finish()
  WScript.Echo "checks: " & gChecks & ", failures: " & gFailures & " - script completed"
  WScript.Quit gFailures
End Sub
