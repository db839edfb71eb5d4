// Value classes over the CMPI objects of an object manager: text, object paths, instances, arrays.
//
// Each is as small as the raw pointer that it holds (an array also knows its element type), copies
// freely and owns nothing: what the object manager makes for a provider belongs to the object
// manager until the provider call, or the element scope around it, ends.
// Constructors that make an object ask the broker of the call (see cmpi_broker.h). What sets a
// value is inline, in cmpi_data.h: an element is little else.
// Errors: every operation throws CmpiStatus when the CMPI call behind it fails.
// Thread rule: as the object manager's objects: one call, one thread.

#ifndef PLATFORM_OSTINT_CMPI_OBJECT_H_
#define PLATFORM_OSTINT_CMPI_OBJECT_H_

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cmpi_status.h"

namespace ostInt {

class CmpiData;

class CmpiString {
 public:
  explicit CmpiString(const CMPIString* string) : string_(string) {}

  // The text, never null; valid as long as the CMPI string is.
  const char* charPtr() const;

 private:
  const CMPIString* string_;
};

// What object paths and instances have in common.
class CmpiObject {
 public:
  // The object manager's own text form of the object.
  CmpiString toString() const;

 protected:
  explicit CmpiObject(const void* object) : object_(object) {}

  const void* object_;
};

class CmpiObjectPath : public CmpiObject {
 public:
  explicit CmpiObjectPath(const CMPIObjectPath* path) : CmpiObject(path) {}

  // A new path without keys.
  CmpiObjectPath(const char* name_space, const char* class_name);

  inline void setKey(const char* name, const CmpiData& value);

  // The value of a key; its name is found ignoring case (DSP0004, names). Throws
  // CMPI_RC_ERR_NO_SUCH_PROPERTY, or the object manager's own status, when the key is missing or
  // null. An empty string is a value, not a missing key.
  CmpiData getKey(const char* name) const;

  // Whether the path's class is `class_name` or a subclass of it. A class that the object manager
  // does not know is neither.
  bool classPathIsA(const char* class_name) const;

  CMPIObjectPath* raw() const {
    return static_cast<CMPIObjectPath*>(const_cast<void*>(object_));  // CMPI takes both
  }

 private:
  bool FindKeyIgnoringCase(const char* name, CMPIData& found) const;
};

// Equality of object paths as CIM has it (DSP0004, object names): namespace, class and key names
// ignoring case, keys in any order, references compared in depth, integers by number whatever their
// width, text byte for byte. A path without namespace is local and equals one with any; host names
// are not compared.
bool operator==(const CmpiObjectPath& left, const CmpiObjectPath& right);
inline bool operator!=(const CmpiObjectPath& left, const CmpiObjectPath& right) {
  return !(left == right);
}

class CmpiInstance : public CmpiObject {
 public:
  explicit CmpiInstance(const CMPIInstance* instance) : CmpiObject(instance) {}

  // A new instance with the path's class and keys; the keys are properties of it as well, whatever
  // the object manager does.
  explicit CmpiInstance(const CmpiObjectPath& path);

  inline void setProperty(const char* name, const CmpiData& value);

  // Whether the property is there and not null.
  bool has(const char* name) const;

  // Its path, a copy.
  CmpiObjectPath objectPath() const;

  // Keeps only the listed properties (a null list: all of them) and the listed keys. Both lists
  // are null-terminated and stay the caller's.
  void setPropertyFilter(const char** properties, const char** keys);

  CMPIInstance* raw() const {
    return static_cast<CMPIInstance*>(const_cast<void*>(object_));  // CMPI takes both
  }

 private:
  void SetKeys(const CmpiObjectPath& path);
};

class CmpiArray {
 public:
  // A new array of `count` null elements of one simple type.
  CmpiArray(CMPICount count, CMPIType element_type);

  // An element, to be assigned to.
  class Element {
   public:
    Element(CMPIArray* array, CMPICount index) : array_(array), index_(index) {}
    void operator=(const CmpiData& value);

   private:
    CMPIArray* array_;
    CMPICount index_;
  };
  Element operator[](CMPICount index) { return {array_, index}; }

  CMPIType element_type() const { return element_type_; }
  CMPIArray* raw() const { return array_; }

 private:
  CMPIArray* array_;
  CMPIType element_type_;
};

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CMPI_OBJECT_H_
