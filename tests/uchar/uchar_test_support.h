// Helpers for the KelUChar tests: a view of the three property tables, and
// (from tests/support/run_together.h) running a function on several threads
// released at the same moment.
#ifndef KELULIB_TESTS_UCHAR_UCHAR_TEST_SUPPORT_H_
#define KELULIB_TESTS_UCHAR_UCHAR_TEST_SUPPORT_H_

#include "tests/support/run_together.h"
#include "uchar/uchar.h"

namespace kelulib_test {

// KelUChar with its property tables in view.
class InspectableUChar : public KelUChar {
 public:
  static bool classTableLoaded() { return m_gCharClassTable.isLoaded(); }
  static bool upperCaseTableLoaded() { return m_gUpperCaseTable.isLoaded(); }
  static bool lowerCaseTableLoaded() { return m_gLowerCaseTable.isLoaded(); }
  static bool anyTableLoaded() {
    return classTableLoaded() || upperCaseTableLoaded() || lowerCaseTableLoaded();
  }
};

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_UCHAR_UCHAR_TEST_SUPPORT_H_
