#include "providers/failing_library.h"

#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/cmpi/cmpi.h"
#include "support/log_capture.h"

namespace {

struct Plan {
  Within within = Within::kOperations;
  std::size_t n = 0;
  Fail mode = Fail::kOnce;
};
Plan plan;
AllocationReport last_report;

// Runs a factory or an operation as planned.
template <typename Call>
auto RunPlanned(Within within, Call call) {
  if (plan.within != within) return call();
  const FailingAllocations failing(plan.n, plan.mode, last_report);
  return call();
}

// ---------------------------------------------------------------------------------------------
// Results

CMPIResultFT result_functions;  // of the object manager

template <auto kSlot>
struct Paused;
template <typename... Arguments, CMPIStatus (*CMPIResultFT::*kSlot)(Arguments...)>
struct Paused<kSlot> {
  static CMPIStatus Call(Arguments... arguments) {
    const AllocationPause pause;
    return (result_functions.*kSlot)(arguments...);
  }
};

// The result is the object manager's own for one call: its functions may be replaced there.
void PauseForResults(const CMPIResult* result) {
  static CMPIResultFT pausing;
  result_functions = *result->ft;
  pausing = *result->ft;
  pausing.returnInstance = Paused<&CMPIResultFT::returnInstance>::Call;
  pausing.returnObjectPath = Paused<&CMPIResultFT::returnObjectPath>::Call;
  pausing.returnDone = Paused<&CMPIResultFT::returnDone>::Call;
  const_cast<CMPIResult*>(result)->ft = &pausing;
}

// ---------------------------------------------------------------------------------------------
// Operations

// The tables of the library; those of its classes differ in the name alone.
template <typename Table>
Table* library_functions = nullptr;

template <auto kSlot>
struct Planned;
template <typename Table, typename Mi, typename... Rest,
          CMPIStatus (*Table::*kSlot)(Mi*, const CMPIContext*, const CMPIResult*, Rest...)>
struct Planned<kSlot> {
  static CMPIStatus Call(Mi* mi, const CMPIContext* context, const CMPIResult* result,
                         Rest... rest) {
    PauseForResults(result);
    return RunPlanned(Within::kOperations, [&] {
      return (library_functions<Table>->*kSlot)(mi, context, result, rest...);
    });
  }
};

template <typename Mi>
CMPIStatus Cleanup(Mi* mi, const CMPIContext* context, CMPIBoolean terminating) {
  return library_functions<std::remove_pointer_t<decltype(Mi::ft)>>->cleanup(mi, context,
                                                                             terminating);
}

// What stands in front of them.
template <typename Table>
Table planned_functions = {};
template <>
CMPIInstanceMIFT planned_functions<CMPIInstanceMIFT> = {
    CMPIVersion200,
    CMPIVersion200,
    "planned",
    Cleanup<CMPIInstanceMI>,
    Planned<&CMPIInstanceMIFT::enumerateInstanceNames>::Call,
    Planned<&CMPIInstanceMIFT::enumerateInstances>::Call,
    Planned<&CMPIInstanceMIFT::getInstance>::Call,
    nullptr,
    nullptr,
    nullptr,
    nullptr};
template <>
CMPIAssociationMIFT planned_functions<CMPIAssociationMIFT> = {
    CMPIVersion200,
    CMPIVersion200,
    "planned",
    Cleanup<CMPIAssociationMI>,
    Planned<&CMPIAssociationMIFT::associators>::Call,
    Planned<&CMPIAssociationMIFT::associatorNames>::Call,
    Planned<&CMPIAssociationMIFT::references>::Call,
    Planned<&CMPIAssociationMIFT::referenceNames>::Call};

// ---------------------------------------------------------------------------------------------
// Factories

template <typename Mi>
using FactoryOf = Mi* (*)(const CMPIBroker*, const CMPIContext*);

// The one that the object manager has asked for last, and calls next.
template <typename Mi>
FactoryOf<Mi> library_factory = nullptr;

template <typename Mi>
Mi* PlannedFactory(const CMPIBroker* broker, const CMPIContext* context) {
  using Table = std::remove_pointer_t<decltype(Mi::ft)>;
  Mi* record = RunPlanned(Within::kFactories, [&] { return library_factory<Mi>(broker, context); });
  library_functions<Table> = record->ft;
  record->ft = &planned_functions<Table>;
  return record;
}

template <typename Mi>
void* InFrontOf(FactoryOf<Mi> factory) {
  library_factory<Mi> = factory;
  return factory != nullptr ? reinterpret_cast<void*>(&PlannedFactory<Mi>) : nullptr;
}

}  // namespace

void PlanFailures(Within within, std::size_t n, Fail mode) {
  plan = {within, n, mode};
  last_report = {};
}

AllocationReport LastReport() { return last_report; }

std::shared_ptr<const broker::ProviderLibrary> WithFailures(
    std::shared_ptr<const broker::ProviderLibrary> library) {
  AroundCapture(AllocationPause::Bracket);
  return broker::ProviderLibrary::FromResolver(
      [library = std::move(library)](const char* text) -> void* {
        constexpr std::string_view kInstance = "_Create_InstanceMI";
        constexpr std::string_view kAssociation = "_Create_AssociationMI";
        std::string_view symbol = text;
        if (symbol.ends_with(kInstance)) {
          symbol.remove_suffix(kInstance.size());
          return InFrontOf<CMPIInstanceMI>(library->FindInstanceFactory(symbol));
        }
        if (!symbol.ends_with(kAssociation)) return nullptr;
        symbol.remove_suffix(kAssociation.size());
        return InFrontOf<CMPIAssociationMI>(library->FindAssociationFactory(symbol));
      });
}
