// The loadable module's translation unit: everything it holds comes from
// msglint_core; kelmain (declared in msglint.h) is its only export.
#include "testutils/msglint.h"
