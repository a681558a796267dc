#pragma once

#include <QString>

// Names of the user and the machine, for the built-in fields. Both are read anew on every
// call (never cached) and are "(unbekannt)" when the system cannot tell.

// Login name of the user the program runs as.
QString VuGetLoginName();
// Host name of this computer.
QString VuGetComputerName();
