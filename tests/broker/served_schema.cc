#include "broker/served_schema.h"

#include <gtest/gtest.h>

#include <vector>

#include "broker/object_manager.h"
#include "broker/provider_library.h"
#include "cim/schema.h"

namespace {

using cim::Instance;
using cim::ObjectPath;
using cim::schema::Class;
using cim::schema::FindClass;
using cim::schema::FindProperty;

class Observer {
 public:
  explicit Observer(const std::string& library) : manager_(broker::Options{}) {
    const auto opened = broker::ProviderLibrary::Open(library);
    for (const Class& cls : cim::schema::AllClasses()) {
      if (!cls.name.starts_with("Ostrel_")) continue;
      served_.push_back(&cls);
      manager_.Register(cls.name, opened);
    }
  }

  SetProperties Observe() {
    std::vector<ObjectPath> elements = {manager_.SystemPath()};
    for (const Class* cls : served_) {
      broker::Recorder found;
      const cim::Status status = manager_.EnumerateInstances(
          cls->name, manager_.ClassPath(cls->name), std::nullopt, found);
      EXPECT_EQ(status.code, CMPI_RC_OK) << cls->name;
      for (const Instance& instance : found.instances) {
        Look(instance);
        if (!cls->association) elements.push_back(instance.path);
      }
    }
    for (const ObjectPath& element : elements) LookAround(element);
    for (const broker::ProviderError& error : manager_.ProviderErrors()) {
      ADD_FAILURE() << ToString(error);
    }
    return set_;
  }

 private:
  void LookAround(const ObjectPath& element) {
    for (const Class* cls : served_) {
      if (!cls->association) continue;
      broker::Recorder found;
      EXPECT_EQ(manager_.References(cls->name, element, {}, std::nullopt, found).code, CMPI_RC_OK);
      EXPECT_EQ(manager_.Associators(cls->name, element, {}, std::nullopt, found).code, CMPI_RC_OK);
      for (const Instance& instance : found.instances) Look(instance);
    }
  }

  void Look(const Instance& instance) {
    const Class* cls = FindClass(instance.path.class_name);
    ASSERT_NE(cls, nullptr) << instance.path.class_name;
    for (const cim::Property& property : instance.properties) {
      SCOPED_TRACE(instance.path.class_name + "." + property.name);
      const cim::schema::Property* declared = FindProperty(*cls, property.name);
      ASSERT_NE(declared, nullptr);
      EXPECT_EQ(property.name, declared->name);  // in the schema's spelling
      EXPECT_EQ(cim::TypeName(property.value.type()), cim::TypeName(declared->type));
      if (const ObjectPath* end = property.value.reference()) {
        EXPECT_TRUE(cim::schema::IsA(end->class_name, declared->reference_class))
            << end->class_name;
      }
      if (!property.value.is_null()) set_[instance.path.class_name].insert(property.name);
    }
  }

  broker::ObjectManager manager_;
  std::vector<const Class*> served_;
  SetProperties set_;
};

}  // namespace

SetProperties ExpectServedAsDeclared(const std::string& library) {
  return Observer(library).Observe();
}
