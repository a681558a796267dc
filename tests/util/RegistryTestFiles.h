#pragma once

// Whole registry files as a person or another program would leave them.
#include "tests/support/TestFiles.h"
