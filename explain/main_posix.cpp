#include "explain/program.h"

int main(int count, char** arguments) {
    return explain::runProgram({arguments + (count > 0 ? 1 : 0), arguments + count});
}
