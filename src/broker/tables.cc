#include "broker/tables.h"

#include "broker/entry.h"

namespace broker {

// Threads and locks of the operating system: providers have their own.
CMPIBrokerExtFT broker_system = {
    CMPIVersion200, kNotSupported, kNotSupported, kNotSupported, kNotSupported, kNotSupported,
    kNotSupported,  kNotSupported, kNotSupported, kNotSupported, kNotSupported, kNotSupported,
    kNotSupported,  kNotSupported, kNotSupported, kNotSupported, kNotSupported, kNotSupported,
    kNotSupported,  kNotSupported, kNotSupported,
};

// A context has no entries.
CMPIContextFT context_table = {
    CMPIVersion200, kNotSupported, kNotSupported, kNotSupported,
    kNotSupported,  kNotSupported, kNotSupported,
};

const Tables& CurrentTables() {
  static const Tables tables = {
      &broker_services, &broker_encapsulation, &broker_system,     &broker_memory,
      &string_table,    &array_table,          &path_table,        &instance_table,
      &context_table,   &result_table,         &enumeration_table, &date_time_table,
  };
  return tables;
}

}  // namespace broker
