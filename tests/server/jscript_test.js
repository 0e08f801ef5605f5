// A JScript host: Enumerator over the collections, strings outside Latin-1
// crossing as BSTR both ways, errors caught with try/catch and their numbers.

Step("Enumerator over the catalogue, pages and fields");
var cat = new ActiveXObject("MandorDLL.cMarquage");
cat.XML_ReadCNF(DataDir + "menuiseries.xml");
var ids = [];
for (var e = new Enumerator(cat); !e.atEnd(); e.moveNext()) ids.push(e.item().Id);
CheckEqual(ids.join(" "), "mn1 mn2 mn3", "documents in order");
var doc = cat.Item("mn1");
var fields = 0, owned = 0;
for (var p = new Enumerator(doc.Pages); !p.atEnd(); p.moveNext()) {
  for (var f = new Enumerator(p.item().Champs); !f.atEnd(); f.moveNext()) {
    fields++;
    if (f.item().oOwnerMandor.Id === "mn1") owned++;
  }
}
CheckEqual(fields, 29, "fields on the pages of mn1");
CheckEqual(owned, fields, "each with its document");
var codes = [];
for (var d = new Enumerator(cat.oDevises); !d.atEnd(); d.moveNext()) codes.push(d.item().code);
Check(codes.length >= 1 && codes.length === cat.oDevises.Count, "currencies enumerated");
var empty = new ActiveXObject("MandorDLL.Mandor");
Check(new Enumerator(empty.Champs).atEnd(), "an empty collection enumerates nothing");

Step("strings outside Latin-1 round-trip");
var texts = ["\u4EF7\u683C\u8868 \u7B2C\u4E8C\u9875",       // CJK
             "\u03A4\u03B9\u03BC\u03AE \u03BC\u03BF\u03BD\u03AC\u03B4\u03B1\u03C2",  // Greek
             "sign \uD83D\uDCDD here",                          // a surrogate pair
             "Qt\u00E9 \u20AC \u0152uvre", ""];
var ch = new ActiveXObject("MandorDLL.CChamp");
for (var i = 0; i < texts.length; i++) {
  ch.Label = texts[i];
  CheckEqual(ch.Label, texts[i], "Label " + i);
  CheckEqual(ch.Label.length, texts[i].length, "length in UTF-16 units " + i);
  ch.valeur = texts[i];
  CheckEqual(ch.valeur, texts[i], "valeur " + i);
}
var pages = empty.Pages;
var page = new ActiveXObject("MandorDLL.CPage");
pages.Add(page, "\u03A3\u03B5\u03BB\u03AF\u03B4\u03B1 \uD83D\uDCDD");
Check(pages.Item("\u03A3\u03B5\u03BB\u03AF\u03B4\u03B1 \uD83D\uDCDD") === page, "a key outside Latin-1");
CheckEqual(doc.Champs.Item("L1_Qt\u00E9").Nom, "L1_Qt\u00E9", "an accented key");

Step("object slots and Nothing");
CheckEqual(ch.Controle, null, "a new field's Controle is null");
ch.Controle = page;
Check(ch.Controle === page, "the object set comes back as itself");
ch.Controle = null;
CheckEqual(ch.Controle, null, "null clears it");

Step("errors caught with their numbers");
CheckRaises(function () { cat.Item("mn9"); }, 5, "a missing key");
CheckRaises(function () { doc.Pages.Item(99); }, 9, "an index out of range");
CheckRaises(function () { doc.Pages.Add(page, "PAGE_1"); }, 457, "a duplicate key");
CheckRaises(function () { empty.Nom_Document = "ab"; }, 5, "a name too short");
CheckRaises(function () { doc.numero_page = "abc"; }, 13, "a type mismatch");
CheckRaises(function () { doc.NoSuchMember(); }, 438, "an unknown member");
CheckRaises(function () { pages.Add(new ActiveXObject("MandorDLL.CPage"), "x", 1, 1); }, 5, "Before and After");
var e = CheckRaises(function () { doc.WritePage(1); }, 5, "a member a host cannot call");
if (e !== null) Check(e.description.indexOf("WritePage") >= 0, "the description names the member");
Check(doc.Pages.Count === 2, "the failed calls changed nothing");

Finish();
