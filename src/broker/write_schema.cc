// write_schema FOLDER: writes the files of schema/ into the folder. script/schema calls it.

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "broker/schema_files.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    (void)std::fprintf(stderr, "usage: write_schema FOLDER\n");
    return 2;
  }
  for (const broker::schema::SchemaFile& file : broker::schema::SchemaFiles()) {
    const std::filesystem::path path = std::filesystem::path(argv[1]) / file.name;
    std::ofstream out(path, std::ios::binary);
    if (!(out << file.text << std::flush)) {
      (void)std::fprintf(stderr, "write_schema: cannot write %s\n", path.c_str());
      return 1;
    }
  }
  return 0;
}
