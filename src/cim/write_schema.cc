// write_schema FOLDER: writes the files of schema/ into the folder, if every class that changed
// since they were written last has a higher Version. script/schema calls it.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cim/class_versions.h"
#include "cim/schema_files.h"

namespace {

namespace fs = std::filesystem;
namespace schema = cim::schema;

bool VersionsAreRight(const fs::path& record) {
  std::ostringstream text;
  text << std::ifstream(record, std::ios::binary).rdbuf();
  if (!text) {
    (void)std::fprintf(stderr, "write_schema: cannot read %s\n", record.c_str());
    return false;
  }
  const auto faults = schema::VersionFaults(text.str(), schema::DeclaredClasses());
  for (const std::string& fault : faults) {
    (void)std::fprintf(stderr, "write_schema: %s\n", fault.c_str());
  }
  return faults.empty();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    (void)std::fprintf(stderr, "usage: write_schema FOLDER\n");
    return 2;
  }
  const fs::path folder(argv[1]);
  if (!VersionsAreRight(folder / schema::kClassVersionsFile)) return 1;
  for (const schema::SchemaFile& file : schema::SchemaFiles()) {
    const fs::path path = folder / file.name;
    std::ofstream out(path, std::ios::binary);
    if (!(out << file.text << std::flush)) {
      (void)std::fprintf(stderr, "write_schema: cannot write %s\n", path.c_str());
      return 1;
    }
  }
  return 0;
}
