#include "commands.h"

int main(int count, char** arguments) {
    return rzl_run(count, arguments);
}
