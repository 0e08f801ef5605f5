// The version of the mandor library, the one home of the number: the build
// reads it from here, and a program can test it at compile time.
//
// Threading: constants only.
#ifndef MANDOR_VERSION_H_
#define MANDOR_VERSION_H_

#define MANDOR_VERSION_MAJOR 0
#define MANDOR_VERSION_MINOR 1
#define MANDOR_VERSION_PATCH 0

#define MANDOR_VERSION_TEXT_(x) #x
#define MANDOR_VERSION_TEXT(x) MANDOR_VERSION_TEXT_(x)
// "0.1.0"
#define MANDOR_VERSION                                                                       \
  MANDOR_VERSION_TEXT(MANDOR_VERSION_MAJOR) "." MANDOR_VERSION_TEXT(MANDOR_VERSION_MINOR) "." \
  MANDOR_VERSION_TEXT(MANDOR_VERSION_PATCH)

#endif  // MANDOR_VERSION_H_
