// The validator check (full mode): text inputs of the manager's forms
// without a "check" attribute, listed with their form and field and the
// Russian title and label that help to find them on screen.
#ifndef TESTUTILS_VALIDATOR_H_
#define TESTUTILS_VALIDATOR_H_

#include "testutils/run_context.h"

// Lists the text inputs of the manager's forms that have no validator, with
// their form, field and Russian title and label.
void check_validator(RunContext& run);

#endif  // TESTUTILS_VALIDATOR_H_
