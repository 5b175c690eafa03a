#pragma once

#include "explain/explanation.h"

// The names of the schema.
namespace explain {

const char* nameOf(Outcome outcome);
const char* nameOf(ValueSource::Kind kind);
const char* nameOf(Considered::Result result);
const char* nameOf(FileChange::Kind kind);

}  // namespace explain
