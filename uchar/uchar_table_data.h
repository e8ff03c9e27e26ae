// The compiled-in range lists of KelUChar's three property tables, made by
// tools/make_uchar_tables.py (uchar/uchar_table_data.cc). Each list ends
// with an all-zero record.
#ifndef KELULIB_UCHAR_UCHAR_TABLE_DATA_H_
#define KELULIB_UCHAR_UCHAR_TABLE_DATA_H_

#include "uchar/uchar_table.h"

namespace kelulib {

// Class bits (KelUChar::KelCharType) of every BMP unit that has any, except
// surrogates and the ideograph blocks that KelUChar tests by range.
extern const tableData kCharClassRanges[];
// Simple upper case: unit first + k maps to value + k.
extern const tableData kUpperCaseRanges[];
// Simple lower case: unit first + k maps to value + k.
extern const tableData kLowerCaseRanges[];

}  // namespace kelulib

#endif  // KELULIB_UCHAR_UCHAR_TABLE_DATA_H_
