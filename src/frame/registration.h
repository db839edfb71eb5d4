// Provider registration: the per-class statics, function tables and C factories of the providers.
//
// One line per class, in the class's own source file:
//   OSTREL_REGISTER_INSTANCE_PROVIDER(PCIDevice)          an instance provider
//   OSTREL_REGISTER_ASSOCIATION_PROVIDER(PCIControlledBy) an instance and association provider
// The macros only spell the C names; the work is in the templates below.
//
// Both factories of an association class share one provider base, so whichever is called first
// makes the provider object and the other hands out the same one.
// Thread rule: the object manager calls the factories of one class one at a time, before it
// dispatches requests to it; factories of different classes may run at once.
// Errors: what the construction of a provider object throws leaves the factory.

#ifndef FRAME_REGISTRATION_H_
#define FRAME_REGISTRATION_H_

#include <cstdio>
#include <memory>
#include <typeinfo>

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cancellation_hold.h"
#include "platform/ostint/cmpi_base_mi.h"

namespace frame {

// The function tables of a provider; `name` is the MI name, static text.
constexpr CMPIInstanceMIFT MakeInstanceTable(const char* name) {
  return {CMPIVersion200,
          CMPIVersion200,
          name,
          ostInt::CmpiBaseMI::driveBaseCleanup,
          ostInt::CmpiInstanceMI::driveEnumInstanceNames,
          ostInt::CmpiInstanceMI::driveEnumInstances,
          ostInt::CmpiInstanceMI::driveGetInstance,
          ostInt::CmpiInstanceMI::driveCreateInstance,
          ostInt::CmpiInstanceMI::driveSetInstance,
          ostInt::CmpiInstanceMI::driveDeleteInstance,
          ostInt::CmpiInstanceMI::driveExecQuery};
}

constexpr CMPIAssociationMIFT MakeAssociationTable(const char* name) {
  return {CMPIVersion200,
          CMPIVersion200,
          name,
          ostInt::CmpiBaseMI::driveBaseCleanup,
          ostInt::CmpiAssociationMI::driveAssociators,
          ostInt::CmpiAssociationMI::driveAssociatorNames,
          ostInt::CmpiAssociationMI::driveReferences,
          ostInt::CmpiAssociationMI::driveReferenceNames};
}

// The statics behind one factory.
template <typename Mi, typename Table>
struct Factory {
  ostInt::CmpiProviderBase& base;
  Table table;
  Mi record{};
};

// The provider object of the class, made now if there is none.
template <typename Provider>
ostInt::CmpiBaseMI* ObtainProvider(ostInt::CmpiProviderBase& base, const ostInt::CmpiBroker& broker,
                                   const ostInt::CmpiContext& context) {
  if (ostInt::CmpiBaseMI* existing = base.getBaseMI()) return existing;
  auto provider = std::make_unique<Provider>(broker, context);
  ostInt::CmpiBaseMI* object = provider.get();
  object->setProviderBase(&base);
  object->initialize(context);  // its status is nobody's: a factory reports no failure
  base.setBaseMI(provider.release());
  return object;
}

// Runs a factory call; `announce` is called once the provider object exists.
template <typename Provider, typename Mi, typename Table, typename Announce>
Mi* CreateMI(Factory<Mi, Table>& factory, const CMPIBroker* broker, const CMPIContext* context,
             Announce announce) {
  const ostInt::CancellationHold hold;
  const ostInt::CmpiBroker wrapped_broker(broker);
  const ostInt::BrokerScope scope(&wrapped_broker);
  const ostInt::CmpiContext wrapped_context(context);
  factory.record.ft = &factory.table;
  ostInt::CmpiBaseMI* object =
      ObtainProvider<Provider>(factory.base, wrapped_broker, wrapped_context);
  announce();
  factory.record.hdl = object;
  factory.base.setRecord(&factory.record);
  factory.base.incUseCount();
  return &factory.record;
}

// The trace line of every instance factory call; association factories write none (intended).
inline void TraceInstanceFactory() {
  (void)std::fprintf(stderr, "--- _Create_InstanceMI() %s\n", typeid(ostInt::CmpiBaseMI*).name());
}

}  // namespace frame

#define OSTREL_FACTORY extern "C" __attribute__((visibility("default")))

#define OSTREL_REGISTER_INSTANCE_PROVIDER(Class)                                                  \
  static ostInt::CmpiProviderBase baseOstrel_##Class;                                             \
  static frame::Factory<CMPIInstanceMI, CMPIInstanceMIFT> instanceOstrel_##Class{                 \
      baseOstrel_##Class, frame::MakeInstanceTable("instanceOstrel_" #Class)};                    \
  OSTREL_FACTORY CMPIInstanceMI* Ostrel_##Class##_Create_InstanceMI(const CMPIBroker* broker,     \
                                                                    const CMPIContext* context) { \
    return frame::CreateMI<Class>(instanceOstrel_##Class, broker, context,                        \
                                  frame::TraceInstanceFactory);                                   \
  }                                                                                               \
  static_assert(true)

#define OSTREL_REGISTER_ASSOCIATION_PROVIDER(Class)                                        \
  OSTREL_REGISTER_INSTANCE_PROVIDER(Class);                                                \
  static frame::Factory<CMPIAssociationMI, CMPIAssociationMIFT> associationOstrel_##Class{ \
      baseOstrel_##Class, frame::MakeAssociationTable("associationOstrel_" #Class)};       \
  OSTREL_FACTORY CMPIAssociationMI* Ostrel_##Class##_Create_AssociationMI(                 \
      const CMPIBroker* broker, const CMPIContext* context) {                              \
    return frame::CreateMI<Class>(associationOstrel_##Class, broker, context, [] {});      \
  }                                                                                        \
  static_assert(true)

#endif  // FRAME_REGISTRATION_H_
