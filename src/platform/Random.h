// The pseudo-random generator of the image operations: numbers in [0, 1).
// Replaceable so that tests can feed known sequences.
#pragma once

#include <functional>

namespace qorv {

// Next number in [0, 1).
double rnd();
// Re-seeds the default generator.
void randomize(double seed);
// Puts the default generator back in its start state, so that the sequence
// from here on is the one a fresh program produces.
void resetRandom();
// Seconds since midnight, local time (the classic seed).
double timer();
// Installs a generator for tests; an empty function restores the default.
void setRandomSource(std::function<double()> source);

}  // namespace qorv
