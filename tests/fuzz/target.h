#pragma once

#include <string>

// A fuzz target is one file `<name>_target.cpp` that defines runInput, a corpus of inputs in corpus/<name>
// and a dictionary <name>.dict. It is linked with libFuzzer, which calls it with generated inputs, or with
// a test program that calls it with each file of the corpus.
namespace fuzz {

// Gives the input, which may be any bytes, to the code under test, and checks what must hold for every
// input.
void runInput(const std::string& bytes);

// What must hold, with the text for a failure. A failure ends the fuzzer, and fails the test of the corpus
// file. Call it only outside of the programs of a simulated machine.
void expect(bool holds, const std::string& what);

}  // namespace fuzz
