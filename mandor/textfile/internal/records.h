// The record lines of the text marking files, described once as data.
//
// A record is one value holding columns separated by "|": the ruler and
// field records of the extended layout (11 and 25 columns), the recurrent
// field record (23 columns) and the standard layout's vertical ruler, page
// ruler and field records (9, 8 and 18 columns). Each is a table of columns
// in file order, each column naming the member it carries, the code of its
// text form (FORMAT.md: I, L, P, C, B, S) and how to get and set it. The
// writer appends a record from its table (AppendRecord) and the readers of
// both layouts apply one from the same table (ApplyRecord), so that a column
// is never mapped twice; the standard reader's messages take their column
// counts from the tables too.
//
// Threading: the tables are constant and may be read from any thread.
// AppendRecord and ApplyRecord read the current platform's locale and the
// objects of the model, so they follow the model's single-threaded contract.
#ifndef MANDOR_TEXTFILE_INTERNAL_RECORDS_H_
#define MANDOR_TEXTFILE_INTERNAL_RECORDS_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mandor {
class CChamp;
class CRegle;
}  // namespace mandor

namespace mandor::textfile {

// The text form of a column (FORMAT.md, "Value encodings").
enum class Code : char {
  kText = 'S',        // as it stands
  kInt = 'I',         // 16-bit whole number
  kLong = 'L',        // 32-bit whole number (colours)
  kPixel = 'P',       // float in the locale's default text
  kCentimetre = 'C',  // float with a decimal comma whatever the locale
  kBool = 'B',        // the locale's text of a boolean
};

// What a column's text may need besides its object when a record is written.
struct RecordContext {
  // Column 6 of a page's field record: the last quantity value of the save.
  std::string_view value_text;
};

// One column. Texts (code S) go through get_text/set_text, every other code
// through get_number/set_number: whole numbers, floats and booleans all hold
// exactly in a double. A null setter is a column that is not applied on
// reading (a constant, or a text that the reader applies itself once the
// rest of the record is known).
template <class Object>
struct Column {
  std::string_view member;  // the member as FORMAT.md names it
  Code code = Code::kText;
  std::string (*get_text)(const Object&, const RecordContext&) = nullptr;
  void (*set_text)(Object&, std::string_view) = nullptr;
  double (*get_number)(const Object&) = nullptr;
  void (*set_number)(Object&, double) = nullptr;
  // A blank column normally leaves the member as it is; this one sets false.
  bool blank_is_false = false;
};

template <class Object>
using Record = std::span<const Column<Object>>;

// The records, in file order of their columns.
Record<CRegle> RulerRecord();           // extended: "[Règles verticales]" and "r" lines
Record<CChamp> FieldRecord();           // extended: a page's "c" lines
Record<CChamp> RecurrentRecord();       // extended: "[Champs Récurrents]" "R" lines
Record<CRegle> StdVerticalRulerRecord();  // standard: "[Règles verticales]" lines
Record<CRegle> StdPageRulerRecord();      // standard: a page's "r" lines
Record<CChamp> StdFieldRecord();          // standard: a page's "c" lines

// 1-based positions of the columns that the reader handles itself.
inline constexpr size_t kFieldValueColumn = 6;        // quantity value text / InitialValue

// A record's columns as the reader splits them: views into the record's text,
// from index 1 (index 0 unused), valid while the text is.
using RecordColumns = std::vector<std::string_view>;

// Appends the record's columns to `line`, each after a "|" but the first.
// `record` is one of the tables above (Error 5 otherwise): they are walked
// with each column's code and accessors known at compile time.
template <class Object>
void AppendRecord(std::string& line, Record<Object> record, const Object& object, const RecordContext& context = {});

// Applies cols[1..record.size()] to `object` in column order. A text column
// is set as it stands; a blank column of any other code leaves its member
// unchanged (or sets false, see blank_is_false); a text that does not convert
// raises Error 13 (Error 6 when out of the member's range), which ends the read.
// Error 5 when `record` is not one of the tables above or cols holds fewer
// columns than it.
template <class Object>
void ApplyRecord(Record<Object> record, Object& object, const RecordColumns& cols);

// True when the text holds nothing but spaces.
bool IsBlank(std::string_view text);

// A value read from a marking file converted by its code: a whole number in
// the range of I (16-bit) or L (32-bit), a float for P and C, 1 or 0 for B.
// Error 13 when the text does not convert (a blank one included), Error 6
// when it is out of range. Code S has no number: Error 5.
double ParseValue(Code code, std::string_view text);

}  // namespace mandor::textfile

#endif  // MANDOR_TEXTFILE_INTERNAL_RECORDS_H_
