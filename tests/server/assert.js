// Shared by the MandorDLL JScript tests (the runner puts it in front of each one).
// Argument: the folder of the test's data files, with its trailing "\".
var gChecks = 0, gFailures = 0, gStep = "start";
var DataDir = WScript.Arguments(0);

function Step(name) {
  gStep = name;
  WScript.Echo("-- " + name);
}

function Check(condition, what) {
  gChecks++;
  if (!condition) {
    gFailures++;
    WScript.Echo("FAIL [" + gStep + "] " + what);
  }
}

function CheckEqual(actual, expected, what) {
  gChecks++;
  if (actual !== expected) {
    gFailures++;
    WScript.Echo("FAIL [" + gStep + "] " + what + ": expected <" + expected + "> got <" + actual + ">");
  }
}

// The automation error number of a caught error (its HRESULT's low word).
function ErrorNumber(e) {
  return e.number & 0xFFFF;
}

// Runs f, which must raise the automation error number; returns the error.
function CheckRaises(f, number, what) {
  try {
    f();
  } catch (e) {
    CheckEqual(ErrorNumber(e), number, what);
    return e;
  }
  Check(false, what + ": no error raised");
  return null;
}

// Ends the script; the runner fails a script that does not get here.
function Finish() {
  WScript.Echo("checks: " + gChecks + ", failures: " + gFailures + " - script completed");
  WScript.Quit(gFailures);
}
