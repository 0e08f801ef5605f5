// The public API of mandor in one include: the object model of a marking
// (documents, pages, rulers, fields, fonts, currencies, the catalogue), the
// keyed collections, the errors, the platform layer a host can replace, and
// the string and number routines of the marking files (fct_util.h).
//
// Only the headers this one includes are API. Headers under an `internal/`
// folder are not: they change without notice, and the two a public class
// needs for its layout (key_index.h, packed_texts.h) are installed for that
// reason alone. The in-memory platform for tests is mandor/testing/memory_platform.h.
//
// Threading: the model is single-threaded; each header says what it shares.
#ifndef MANDOR_MANDOR_H_
#define MANDOR_MANDOR_H_

#include "mandor/fields/champ.h"
#include "mandor/fields/font.h"
#include "mandor/model/devises.h"
#include "mandor/model/doc.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/collection.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/locale.h"
#include "mandor/util/platform.h"
#include "mandor/version.h"
#include "mandor/xml/image_pdf.h"

#endif  // MANDOR_MANDOR_H_
