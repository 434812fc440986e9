#include "commands.h"

int main(int count, char** arguments) {
    return batch_run(count, arguments);
}
