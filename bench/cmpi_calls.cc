#include "bench/cmpi_calls.h"

#include <type_traits>
#include <utility>

#include "broker/tables.h"
#include "platform/cmpi/cmpi.h"

namespace bench {

namespace {

CmpiCalls* counting = nullptr;

// What stands in a slot of a function table while calls are counted.
template <auto* kTable, auto kSlot, typename Function>
struct Counted;
template <auto* kTable, auto kSlot, typename Result, typename... Arguments>
struct Counted<kTable, kSlot, Result (*)(Arguments...)> {
  static inline const char* name = nullptr;
  static inline Result (*original)(Arguments...) = nullptr;

  static Result Call(Arguments... arguments) {
    counting->Count(name);
    return original(arguments...);
  }
};

// Puts the counting function into the slot, or the original back.
template <auto* kTable, auto kSlot>
void Exchange(const char* name) {
  auto& slot = kTable->*kSlot;
  using Slot = Counted<kTable, kSlot, std::remove_reference_t<decltype(slot)>>;
  Slot::name = name;
  if (counting != nullptr) {
    Slot::original = std::exchange(slot, &Slot::Call);
  } else {
    slot = Slot::original;
  }
}

// All that the providers use, in enumerations or elsewhere.
void ExchangeAll() {
  Exchange<&broker::broker_encapsulation, &CMPIBrokerEncFT::newObjectPath>("newObjectPath");
  Exchange<&broker::broker_encapsulation, &CMPIBrokerEncFT::newInstance>("newInstance");
  Exchange<&broker::broker_encapsulation, &CMPIBrokerEncFT::newArray>("newArray");
  Exchange<&broker::broker_encapsulation, &CMPIBrokerEncFT::newString>("newString");
  Exchange<&broker::broker_encapsulation, &CMPIBrokerEncFT::toString>("toString");
  Exchange<&broker::broker_encapsulation, &CMPIBrokerEncFT::classPathIsA>("classPathIsA");
  Exchange<&broker::broker_memory, &CMPIBrokerMemFT::mark>("mark");
  Exchange<&broker::broker_memory, &CMPIBrokerMemFT::release>("release");
  Exchange<&broker::string_table, &CMPIStringFT::getCharPtr>("getCharPtr");
  Exchange<&broker::array_table, &CMPIArrayFT::setElementAt>("setElementAt");
  Exchange<&broker::path_table, &CMPIObjectPathFT::addKey>("addKey");
  Exchange<&broker::path_table, &CMPIObjectPathFT::getKey>("getKey");
  Exchange<&broker::path_table, &CMPIObjectPathFT::getKeyAt>("getKeyAt");
  Exchange<&broker::path_table, &CMPIObjectPathFT::getKeyCount>("getKeyCount");
  Exchange<&broker::instance_table, &CMPIInstanceFT::setProperty>("setProperty");
  Exchange<&broker::instance_table, &CMPIInstanceFT::setPropertyFilter>("setPropertyFilter");
  Exchange<&broker::result_table, &CMPIResultFT::returnInstance>("returnInstance");
  Exchange<&broker::result_table, &CMPIResultFT::returnObjectPath>("returnObjectPath");
  Exchange<&broker::result_table, &CMPIResultFT::returnDone>("returnDone");
}

}  // namespace

CmpiCalls::CmpiCalls() {
  counting = this;
  ExchangeAll();
}

CmpiCalls::~CmpiCalls() {
  counting = nullptr;
  ExchangeAll();
}

}  // namespace bench
