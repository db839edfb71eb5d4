#include "support/imitations.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "broker/call.h"
#include "broker/entry.h"
#include "broker/objects.h"
#include "broker/provider_objects.h"
#include "cim/schema.h"

namespace broker {

const Imitation& Itself() {
  static const Imitation imitation{CurrentTables()};
  return imitation;
}

// ---------------------------------------------------------------------------------------------
// CMPI 1.0: each table ends where that version's does, and so does its memory

namespace {

// The first `bytes` of a table, in memory of exactly that size. Never freed: a provider may keep a
// record for as long as the process lives.
template <class Table>
Table* CutOff(const Table& table, std::size_t bytes) {
  void* copy = std::malloc(bytes);
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, &table, bytes);
  return static_cast<Table*>(copy);
}

// For all tables that begin with `ftVersion`.
template <class Table>
Table* OldTable(Table table, std::size_t bytes = sizeof(Table)) {
  table.ftVersion = CMPIVersion100;
  return CutOff(table, bytes);
}

// A broker record ends before its last member.
std::shared_ptr<const CMPIBroker> OldBroker(const CMPIBroker& own) {
  return {CutOff(own, offsetof(CMPIBroker, mft)), [](CMPIBroker* broker) { std::free(broker); }};
}

CMPIBrokerFT* OldServices() {
  CMPIBrokerFT services = broker_services;
  services.brokerVersion = CMPIVersion100;
  services.brokerCapabilities &= ~static_cast<unsigned>(CMPI_MB_Supports_MemEnhancements);
  return CutOff(services, sizeof(services));
}

Tables OldTables() {
  Tables tables = CurrentTables();
  tables.services = OldServices();
  tables.encapsulation = OldTable(broker_encapsulation, offsetof(CMPIBrokerEncFT, newCMPIError));
  tables.system = OldTable(broker_system);
  tables.memory = nullptr;
  tables.string = OldTable(string_table);
  tables.array = OldTable(array_table);
  tables.path = OldTable(path_table);
  tables.instance = OldTable(instance_table, offsetof(CMPIInstanceFT, setPropertyWithOrigin));
  tables.context = OldTable(context_table);
  tables.result = OldTable(result_table, offsetof(CMPIResultFT, returnError));
  tables.enumeration = OldTable(enumeration_table);
  tables.date_time = OldTable(date_time_table);
  return tables;
}

}  // namespace

const Imitation& Cmpi10() {
  static const Tables tables = OldTables();
  static const Imitation imitation{tables, nullptr, OldBroker};
  return imitation;
}

// ---------------------------------------------------------------------------------------------
// What SFCB and OpenPegasus have in common

namespace {

struct Default {
  std::string_view name;
  CMPIUint16 value;
};

// Those of CIM_EnabledLogicalElement in the CIM schema 2.41.
constexpr Default kDefaults[] = {{"EnabledState", 5},
                                 {"RequestedState", 12},
                                 {"EnabledDefault", 2},
                                 {"TransitioningToState", 12}};

InstanceObject& ObjectBehind(const CMPIInstance* inst) {
  return *Behind<InstanceObject>(const_cast<CMPIInstance*>(inst));
}

CMPIInstance* NewInstanceWithDefaults(const CMPIBroker* mb, const CMPIObjectPath* op,
                                      CMPIStatus* rc) {
  CMPIInstance* inst = broker_encapsulation.newInstance(mb, op, rc);
  if (inst == nullptr) return nullptr;
  InstanceObject& instance = ObjectBehind(inst);
  if (!cim::schema::IsA(instance.path->class_name, "CIM_EnabledLogicalElement")) return inst;
  for (const Default& of_class : kDefaults) {
    CMPIData data{CMPI_uint16, CMPI_goodValue, {}};
    data.value.uint16 = of_class.value;
    SetNamedConstant(*instance.state.region, instance.properties, of_class.name, data);
  }
  return inst;
}

// A property that was there by default stands where it was set, as one that was not.
CMPIStatus SetOverDefault(const CMPIInstance* inst, const char* name, const CMPIValue* value,
                          CMPIType type) {
  const CMPIStatus status = instance_table.setProperty(inst, name, value, type);
  const auto is_default = [name](const Default& of_class) { return of_class.name == name; };
  if (status.rc == CMPI_RC_OK &&
      std::any_of(std::begin(kDefaults), std::end(kDefaults), is_default)) {
    const NamedList& properties = ObjectBehind(inst).properties;
    NamedData* set = properties.Find(name);
    std::rotate(set, set + 1, properties.end());
  }
  return status;
}

bool IsGetInstance(const Call& call) { return call.operation() == std::string_view("GetInstance"); }

// Whether the result has the instance of a GetInstance already.
bool IsServed(const CMPIResult* rslt) {
  const Call& call = *Behind<ResultObject>(const_cast<CMPIResult*>(rslt))->call;
  return IsGetInstance(call) && call.instances() != 0;
}

// Whether a GetInstance ended well and without instance.
bool IsUnserved(const Call& call, const cim::Status& status) {
  return IsGetInstance(call) && status.ok() && call.instances() == 0;
}

// What both offer; each has functions of its own beside.
struct ServerTables {
  ServerTables(const char* name, unsigned version) {
    services.brokerName = name;
    services.brokerVersion = version;
    services.brokerCapabilities &= ~static_cast<unsigned>(CMPI_MB_Supports_MemEnhancements);
    encapsulation.newInstance = Entry<NewInstanceWithDefaults>;
    instance.setProperty = Entry<SetOverDefault>;
    all.services = &services;
    all.encapsulation = &encapsulation;
    all.memory = nullptr;
    all.instance = &instance;
    all.enumeration = &enumeration;
    all.result = &result;
  }
  ServerTables(const ServerTables&) = delete;
  ServerTables& operator=(const ServerTables&) = delete;

  CMPIBrokerFT services = broker_services;
  CMPIBrokerEncFT encapsulation = broker_encapsulation;
  CMPIInstanceFT instance = instance_table;
  CMPIEnumerationFT enumeration = enumeration_table;
  CMPIResultFT result = result_table;
  Tables all = CurrentTables();
};

}  // namespace

// ---------------------------------------------------------------------------------------------
// SFCB

namespace {

// The client gets the first instance, whatever its keys are.
CMPIStatus ReturnFirst(const CMPIResult* rslt, const CMPIInstance* inst) {
  return IsServed(rslt) ? Answer(CMPI_RC_OK) : result_table.returnInstance(rslt, inst);
}

cim::Status NotFoundWithoutInstance(const Call& call, const cim::Status& status) {
  return IsUnserved(call, status) ? cim::Status{CMPI_RC_ERR_NOT_FOUND, {}} : status;
}

struct SfcbTables : ServerTables {
  SfcbTables() : ServerTables("RequestHandler", 0) { result.returnInstance = Entry<ReturnFirst>; }
};

}  // namespace

const Imitation& Sfcb() {
  static SfcbTables tables;
  static const Imitation imitation{tables.all, NotFoundWithoutInstance};
  return imitation;
}

// ---------------------------------------------------------------------------------------------
// OpenPegasus

namespace {

constexpr const char* kTooMany = "Too many objects delivered.";
constexpr const char* kTooFew = "Too few objects delivered.";

CMPIInstance* NewInstanceWithNullKeys(const CMPIBroker* mb, const CMPIObjectPath* op,
                                      CMPIStatus* rc) {
  CMPIInstance* inst = NewInstanceWithDefaults(mb, op, rc);
  if (inst == nullptr) return nullptr;
  const InstanceObject& instance = ObjectBehind(inst);
  for (const NamedData& key : instance.path->keys) {
    instance.properties.Find(key.name)->data = NullData(key.data.type);
  }
  return inst;
}

CMPIStatus SetKnownProperty(const CMPIInstance* inst, const char* name, const CMPIValue* value,
                            CMPIType type) {
  const CMPIStatus status = SetOverDefault(inst, name, value, type);
  if (status.rc == CMPI_RC_ERR_NO_SUCH_PROPERTY) return Answer(CMPI_RC_OK);
  if (status.rc == CMPI_RC_ERR_TYPE_MISMATCH) return Answer(CMPI_RC_ERR_INVALID_DATA_TYPE);
  return status;
}

CMPIData GetNextAsNull(const CMPIEnumeration* en, CMPIStatus* rc) {
  CMPIData data = enumeration_table.getNext(en, rc);
  data.state |= CMPI_nullValue;
  return data;
}

CMPIStatus Refused(const char* text) {
  return {CMPI_RC_ERR_FAILED, &NewString(Call::Current()->region(), text)->record};
}

CMPIStatus ReturnOnly(const CMPIResult* rslt, const CMPIInstance* inst) {
  return IsServed(rslt) ? Refused(kTooMany) : result_table.returnInstance(rslt, inst);
}

cim::Status FailedWithoutInstance(const Call& call, const cim::Status& status) {
  return IsUnserved(call, status) ? cim::Status{CMPI_RC_ERR_FAILED, kTooFew} : status;
}

std::shared_ptr<const CMPIBroker> OwnBroker(const CMPIBroker& own) {
  return std::make_shared<CMPIBroker>(own);
}

struct OpenPegasusTables : ServerTables {
  OpenPegasusTables() : ServerTables("Pegasus", CMPIVersion200) {
    encapsulation.newInstance = Entry<NewInstanceWithNullKeys>;
    instance.setProperty = Entry<SetKnownProperty>;
    enumeration.getNext = Entry<GetNextAsNull>;
    result.returnInstance = Entry<ReturnOnly>;
  }
};

}  // namespace

const Imitation& OpenPegasus() {
  static OpenPegasusTables tables;
  static const Imitation imitation{tables.all, FailedWithoutInstance, OwnBroker, 5};
  return imitation;
}

}  // namespace broker
