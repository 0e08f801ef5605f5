// A picture of one page of a marking, for `mandor render`: the page
// rectangle at its pixel size, the document's vertical rulers and the page's
// horizontal rulers as dashed lines with their names, and every field as a
// rectangle in its font colours with its name above it and its value inside,
// in its font. The page image beside the marking ("<folder><name>-<page>.png",
// "<name>.png" for the first page, else page N of "<name>.pdf" or of a
// multi-page "<name>.tif") is drawn underneath when it can be read
// (mandor/print/page_image.h). Written as SVG (by hand) or as PNG (through
// cairo).
//
// Threading: single-threaded, like the command and the model.
#ifndef MANDOR_CLI_RENDER_H_
#define MANDOR_CLI_RENDER_H_

#include <string>

#include "mandor/mandor.h"

namespace mandor_cli {

enum class RenderFormat { kSvg, kPng, kUnknown };

// From the ending of the file name, in any case.
RenderFormat RenderFormatOf(const std::string& file);

struct RenderResult {
  int width = 0;      // size of the picture in pixels
  int height = 0;
  std::string image;  // the page image drawn underneath, or ""
};

// Renders page `page_number` (1-based position in Pages) at `scale` times
// its pixel size and writes it to `output`. Throws CommandFailure when the
// picture is too large or cannot be written.
RenderResult RenderPage(const mandor::Mandor& document, int page_number, double scale, RenderFormat format,
                        const std::string& output);

// Text made safe for the picture: invalid UTF-8 replaced by U+FFFD and
// control characters by spaces.
std::string CleanText(const std::string& text);

// CleanText, then the XML escapes of &, <, >, " and '.
std::string XmlEscape(const std::string& text);

}  // namespace mandor_cli

#endif  // MANDOR_CLI_RENDER_H_
