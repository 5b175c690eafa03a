#include "explain/names.h"

namespace explain {

const char* nameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::started:
            return "started";
        case Outcome::provisioned:
            return "provisioned";
        case Outcome::handedOver:
            return "handedOver";
        case Outcome::prepared:
            return "prepared";
        case Outcome::shellRole:
            return "shellRole";
        case Outcome::refused:
            break;
    }
    return "refused";
}

const char* nameOf(ValueSource::Kind kind) {
    switch (kind) {
        case ValueSource::Kind::file:
            return "file";
        case ValueSource::Kind::argument:
            return "argument";
        case ValueSource::Kind::environment:
            return "environment";
        case ValueSource::Kind::found:
            return "found";
        case ValueSource::Kind::defaultValue:
            break;
    }
    return "default";
}

const char* nameOf(Considered::Result result) {
    switch (result) {
        case Considered::Result::missing:
            return "missing";
        case Considered::Result::overridden:
            return "overridden";
        case Considered::Result::present:
            break;
    }
    return "used";
}

const char* nameOf(FileChange::Kind kind) {
    switch (kind) {
        case FileChange::Kind::made:
            return "made";
        case FileChange::Kind::changed:
            return "changed";
        case FileChange::Kind::moved:
            return "moved";
        case FileChange::Kind::removed:
            break;
    }
    return "removed";
}

}  // namespace explain
