// The function tables that providers read. All are constant; the CMPI records only lack the const.
// What no provider of ours calls is not served (kNotSupported).
//
// Thread rule: constant data.

#ifndef BROKER_TABLES_H_
#define BROKER_TABLES_H_

#include "platform/cmpi/cmpi.h"

namespace broker {

struct Tables {
  CMPIBrokerFT* services;
  CMPIBrokerEncFT* encapsulation;
  CMPIBrokerExtFT* system;
  CMPIBrokerMemFT* memory;  // null where there is none
  CMPIStringFT* string;
  CMPIArrayFT* array;
  CMPIObjectPathFT* path;
  CMPIInstanceFT* instance;
  CMPIContextFT* context;
  CMPIResultFT* result;
  CMPIEnumerationFT* enumeration;
  CMPIDateTimeFT* date_time;
};

// Version 200, every slot filled.
const Tables& CurrentTables();

// CurrentTables() puts them together.
extern CMPIBrokerFT broker_services;
extern CMPIBrokerEncFT broker_encapsulation;
extern CMPIBrokerExtFT broker_system;
extern CMPIBrokerMemFT broker_memory;
extern CMPIStringFT string_table;
extern CMPIArrayFT array_table;
extern CMPIObjectPathFT path_table;
extern CMPIInstanceFT instance_table;
extern CMPIContextFT context_table;
extern CMPIResultFT result_table;
extern CMPIEnumerationFT enumeration_table;
extern CMPIDateTimeFT date_time_table;

}  // namespace broker

#endif  // BROKER_TABLES_H_
