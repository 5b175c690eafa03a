#pragma once

#include <string>

// A fuzz target: one file `<name>_target.cpp` that defines runInput, a corpus of inputs worth keeping in
// corpus/<name>, and a dictionary <name>.dict. The same target is linked with libFuzzer, which calls it
// with whatever it makes up, and with a test program that calls it with each file of its corpus.
namespace fuzz {

// Gives the input to the code under test and checks what must hold for every input. Any bytes will do.
void runInput(const std::string& bytes);

// What must hold. A failure is reported with the text: it ends the fuzzer, and fails the test of the
// corpus file. Not for the programs of a simulated machine; called by the test alone.
void expect(bool holds, const std::string& what);

}  // namespace fuzz
