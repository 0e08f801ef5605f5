// The public API of mandor in one include: the object model of a marking
// (documents, pages, rulers, fields, fonts, currencies, the catalogue), the
// platform layer a host can replace, and the utilities the model is built on.
#ifndef MANDOR_MANDOR_H_
#define MANDOR_MANDOR_H_

#include "mandor/fields/champ.h"
#include "mandor/fields/font.h"
#include "mandor/model/devises.h"
#include "mandor/model/doc.h"
#include "mandor/model/mandor.h"
#include "mandor/model/page.h"
#include "mandor/model/regle.h"
#include "mandor/util/collection.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/locale.h"
#include "mandor/util/memory_platform.h"
#include "mandor/util/number.h"
#include "mandor/util/platform.h"
#include "mandor/util/text.h"
#include "mandor/version.h"
#include "mandor/xml/marquage.h"

#endif  // MANDOR_MANDOR_H_
