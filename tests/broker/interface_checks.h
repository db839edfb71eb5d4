// What the classes of the interface provider have in common: each walks through the tables of the
// broker it meets and says what answered otherwise than the interface promises, as one instance
// whose property "Failures" lists the expectations that did not hold (by source line) and whose
// property "Checks" says how many there were.
//
// Of a version 100 broker they use only what that version has, as a careful provider does.

#ifndef TESTS_BROKER_INTERFACE_CHECKS_H_
#define TESTS_BROKER_INTERFACE_CHECKS_H_

#include "platform/cmpi/cmpi.h"

namespace interface_checks {

extern const CMPIBroker* broker;
extern CMPIStatus rc;  // of the latest function that got it

void Expect(bool holds, const char* file, int line, const char* what);
#define EXPECT(condition) ::interface_checks::Expect((condition), __FILE__, __LINE__, #condition)

inline bool Ok() { return rc.rc == CMPI_RC_OK; }

// The pointer of CMPI_chars.
const CMPIValue* Chars(const char* text);

bool Is(const CMPIString* string, const char* text);

// A path of root/cimv2 with the key "Name".
CMPIObjectPath* NamedPath(const char* class_name, const char* name);

// What an operation was called with.
struct Request {
  const CMPIContext* context;
  const CMPIResult* result;
  const CMPIObjectPath* path;
};

using Checks = void (*)(const Request&);

// Runs the checks and returns their report.
CMPIStatus Report(Checks run, const CMPIContext* ctx, const CMPIResult* rslt,
                  const CMPIObjectPath* op);

template <Checks kRun>
CMPIStatus EnumInstances(CMPIInstanceMI*, const CMPIContext* ctx, const CMPIResult* rslt,
                         const CMPIObjectPath* op, const char**) {
  return Report(kRun, ctx, rslt, op);
}

CMPIStatus Cleanup(CMPIInstanceMI* mi, const CMPIContext* ctx, CMPIBoolean terminating);

// The record of a class that runs the checks when it is enumerated. The table leaves all other
// entries out, as a table may: the object manager answers for them.
template <Checks kRun>
CMPIInstanceMI* CheckingProvider(const CMPIBroker* mb) {
  static CMPIInstanceMIFT table = {
      CMPIVersion200, CMPIVersion200, "checks", Cleanup, nullptr, EnumInstances<kRun>,
      nullptr,        nullptr,        nullptr,  nullptr, nullptr};
  static CMPIInstanceMI record = {nullptr, &table};
  broker = mb;
  return &record;
}

}  // namespace interface_checks

#define CHECKING_CLASS(class_name, run)                                                      \
  extern "C" __attribute__((visibility("default")))                                          \
  CMPIInstanceMI* class_name##_Create_InstanceMI(const CMPIBroker* mb, const CMPIContext*) { \
    return interface_checks::CheckingProvider<run>(mb);                                      \
  }

#endif  // TESTS_BROKER_INTERFACE_CHECKS_H_
