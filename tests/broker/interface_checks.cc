#include "interface_checks.h"

#include <cstring>
#include <string>

namespace interface_checks {

const CMPIBroker* broker = nullptr;
CMPIStatus rc;

namespace {

std::string failures;
CMPIUint32 checks = 0;

}  // namespace

void Expect(bool holds, const char* file, int line, const char* what) {
  ++checks;
  if (holds) return;
  const char* slash = std::strrchr(file, '/');
  failures += std::string(slash != nullptr ? slash + 1 : file) + ":" + std::to_string(line) + ": " +
              what + "\n";
}

const CMPIValue* Chars(const char* text) { return reinterpret_cast<const CMPIValue*>(text); }

bool Is(const CMPIString* string, const char* text) {
  return string != nullptr && std::strcmp(string->ft->getCharPtr(string, nullptr), text) == 0;
}

CMPIObjectPath* NamedPath(const char* class_name, const char* name) {
  CMPIObjectPath* path = broker->eft->newObjectPath(broker, "root/cimv2", class_name, nullptr);
  path->ft->addKey(path, "Name", Chars(name), CMPI_chars);
  return path;
}

CMPIStatus Report(Checks run, const CMPIContext* ctx, const CMPIResult* rslt,
                  const CMPIObjectPath* op) {
  failures.clear();
  checks = 0;
  run({ctx, rslt, op});
  CMPIInstance* instance = broker->eft->newInstance(broker, op, nullptr);
  instance->ft->setProperty(instance, "Failures", Chars(failures.c_str()), CMPI_chars);
  CMPIValue value;
  value.uint32 = checks;
  instance->ft->setProperty(instance, "Checks", &value, CMPI_uint32);
  value.sint32 = broker->eft->ftVersion;
  instance->ft->setProperty(instance, "Version", &value, CMPI_sint32);
  rslt->ft->returnInstance(rslt, instance);
  return rslt->ft->returnDone(rslt);
}

CMPIStatus Cleanup(CMPIInstanceMI* /*mi*/, const CMPIContext* /*ctx*/,
                   CMPIBoolean /*terminating*/) {
  return {CMPI_RC_OK, nullptr};
}

}  // namespace interface_checks
