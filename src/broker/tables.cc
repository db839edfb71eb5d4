#include "broker/tables.h"

namespace broker {

const Tables& CurrentTables() {
  static const Tables tables = {
      &broker_services, &broker_encapsulation, &broker_system,   &broker_memory, &string_table,
      &array_table,     &path_table,           &instance_table,  &args_table,    &context_table,
      &result_table,    &enumeration_table,    &date_time_table, &error_table,
  };
  return tables;
}

}  // namespace broker
