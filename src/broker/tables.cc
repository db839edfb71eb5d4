#include "broker/tables.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace broker {

const Tables& CurrentTables() {
  static const Tables tables = {
      &broker_services, &broker_encapsulation, &broker_system,   &broker_memory, &string_table,
      &array_table,     &path_table,           &instance_table,  &args_table,    &context_table,
      &result_table,    &enumeration_table,    &date_time_table, &error_table,
  };
  return tables;
}

namespace {

// The first `bytes` of a table, in memory of exactly that size.
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

CMPIBrokerFT* OldServices() {
  CMPIBrokerFT* services = CutOff(broker_services, sizeof(CMPIBrokerFT));
  services->brokerVersion = CMPIVersion100;
  services->brokerCapabilities &=
      ~static_cast<unsigned>(CMPI_MB_Supports_MemEnhancements | CMPI_MB_Supports_Extended_Error);
  return services;
}

}  // namespace

const Tables& OldTables() {
  // Never freed: a guest may keep a record for as long as the process lives.
  static const Tables tables = {
      OldServices(),
      OldTable(broker_encapsulation, offsetof(CMPIBrokerEncFT, newCMPIError)),
      OldTable(broker_system),
      nullptr,
      OldTable(string_table),
      OldTable(array_table),
      OldTable(path_table),
      OldTable(instance_table, offsetof(CMPIInstanceFT, setPropertyWithOrigin)),
      OldTable(args_table),
      OldTable(context_table),
      OldTable(result_table, offsetof(CMPIResultFT, returnError)),
      OldTable(enumeration_table),
      OldTable(date_time_table),
      nullptr,
  };
  return tables;
}

}  // namespace broker
