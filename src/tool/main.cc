#include "tool/commands.h"

int main(int argc, char** argv) { return tool::Main(argc, argv); }
