// An object manager of a test's making: plain C tables over a few C++ objects, so that a test can
// choose what every single CMPI call answers, and sees what was passed to it.
//
//   RecordingBroker broker;
//   broker.Fail("newInstance", CMPI_RC_ERR_ACCESS_DENIED, "not yours");
//   broker.GiveNull("getKey");
//
// Functions are named as the slots of platform/cmpi/cmpi.h. All tables, and the broker record,
// stand in heap blocks of exactly their size: with the address sanitizer, a read beyond the end of
// an old object manager's shorter table stops the test.
//
// Objects made through the tables are freed by release after a mark, as soon as asked; those that
// the test makes itself (Path, Text, ...) live as long as the broker.
//
// Thread rule: one broker per thread at a time. The tables of every broker act on the broker of the
// calling thread, so that threads that share one process broker each record their own calls.

#ifndef OSTINT_RECORDING_BROKER_H_
#define OSTINT_RECORDING_BROKER_H_

#include <cstddef>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/cmpi/cmpi.h"

// What an object manager offers.
struct Offer {
  bool cmpi_2_0 = true;        // false: shorter tables of version 100, no `mft` member at all
  bool mark_release = true;    // the capability bit is set
  bool memory_table = true;    // `mft` is not null
  bool key_case = false;       // getKey tells "DeviceID" from "deviceid"
  bool keys_as_chars = false;  // text keys are answered as CMPI_chars
  bool copies_keys = true;     // a new instance has its path's keys as properties
  const char* name = "recording";
};

class RecordingBroker {
 public:
  explicit RecordingBroker(Offer offer = {});
  ~RecordingBroker();
  RecordingBroker(const RecordingBroker&) = delete;
  RecordingBroker& operator=(const RecordingBroker&) = delete;

  const CMPIBroker* raw() const;
  static const CMPIContext* Context();

  // Every later call of the function answers this status (and no object) until Mend.
  void Fail(const std::string& function, CMPIrc rc, std::string message = {});
  // Every later call answers CMPI_RC_OK and a null object, an absent value, or nothing more.
  void GiveNull(const std::string& function) { Fail(function, CMPI_RC_OK); }
  void Mend(const std::string& function);

  // Objects of the test.
  CMPIString* String(const std::string& text);
  CMPIObjectPath* Path(const std::string& name_space, const std::string& class_name,
                       std::initializer_list<std::pair<std::string, CMPIData>> keys = {});
  CMPIInstance* Instance(const CMPIObjectPath* path = nullptr);
  CMPIDateTime* DateTime(const std::string& text);
  CMPIEnumeration* Enumeration(std::vector<CMPIData> elements);
  CMPIResult* Result();

  // Values of the test.
  CMPIData Text(const std::string& text);
  CMPIData Chars(const std::string& text);
  static CMPIData Reference(CMPIObjectPath* path);

  // What enumerateInstanceNames and enumerateInstances answer.
  std::vector<CMPIData> found;
  // The classes that classPathIsA says yes to.
  std::vector<std::string> class_is_a;

  // What was called, in order: "addKey SystemName chars host", "setProperty BusNumber uint8 3",
  // "returnInstance", with the first text among the path's keys where there is one, "returnDone";
  // reads leave no trace.
  const std::vector<std::string>& calls() const;
  // The last property list and key list of setPropertyFilter.
  const char** filter_properties() const;
  const char** filter_keys() const;
  // The last arguments of an up-call.
  const CMPIContext* upcall_context() const;
  const CMPIObjectPath* upcall_path() const;
  const char** upcall_properties() const;
  // Objects made through the tables and not released; clones are counted alone.
  std::size_t live_objects() const;
  int live_clones() const;
  int open_marks() const;

  struct State;

 private:
  std::unique_ptr<State> state_;
};

// The text of a CMPI string; "" for none.
std::string TextOf(const CMPIString* string);

// Values that need no broker.
CMPIData AbsentValue(CMPIType type, CMPIValueState state);
CMPIData Uint8Value(CMPIUint8 value);
CMPIData Uint16Value(CMPIUint16 value);
CMPIData Uint64Value(CMPIUint64 value);
CMPIData Sint8Value(CMPISint8 value);
CMPIData Sint64Value(CMPISint64 value);

#endif  // OSTINT_RECORDING_BROKER_H_
