// The keys of object paths, and equality of paths.

#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/ostint/cim_name.h"
#include "platform/ostint/cmpi_data.h"
#include "platform/ostint/object_path_keys.h"

namespace ostInt {

namespace {

// Text of a string that an object manager may leave out.
const char* TextOf(const CMPIString* string) {
  return string == nullptr ? "" : CmpiString(string).charPtr();
}

bool IsInteger(CMPIType type) {
  return (type >= CMPI_uint8 && type <= CMPI_uint64) || (type >= CMPI_sint8 && type <= CMPI_sint64);
}

// An integer of any CIM type: its sign and its 64 bits, so that equal numbers compare equal.
std::pair<bool, std::uint64_t> IntegerOf(const CMPIData& data) {
  const auto as_signed = [](std::int64_t value) {
    return std::pair<bool, std::uint64_t>(value < 0, static_cast<std::uint64_t>(value));
  };
  switch (data.type) {
    case CMPI_uint8: return {false, data.value.uint8};
    case CMPI_uint16: return {false, data.value.uint16};
    case CMPI_uint32: return {false, data.value.uint32};
    case CMPI_uint64: return {false, data.value.uint64};
    case CMPI_sint8: return as_signed(data.value.sint8);
    case CMPI_sint16: return as_signed(data.value.sint16);
    case CMPI_sint32: return as_signed(data.value.sint32);
    default: return as_signed(data.value.sint64);
  }
}

bool IsText(CMPIType type) { return type == CMPI_string || type == CMPI_chars; }

const char* TextOf(const CMPIData& data) {
  return data.type == CMPI_chars ? data.value.chars : TextOf(data.value.string);
}

bool SameValue(const CMPIData& left, const CMPIData& right) {
  if (CmpiData::IsAbsent(left) || CmpiData::IsAbsent(right)) {
    return CmpiData::IsAbsent(left) && CmpiData::IsAbsent(right);
  }
  if (IsText(left.type) && IsText(right.type)) {
    return std::strcmp(TextOf(left), TextOf(right)) == 0;
  }
  if (IsInteger(left.type) && IsInteger(right.type)) return IntegerOf(left) == IntegerOf(right);
  if (left.type != right.type) return false;
  switch (left.type) {
    case CMPI_ref: return CmpiObjectPath(left.value.ref) == CmpiObjectPath(right.value.ref);
    case CMPI_boolean: return (left.value.boolean != 0) == (right.value.boolean != 0);
    case CMPI_char16: return left.value.char16 == right.value.char16;
    case CMPI_real32: return left.value.real32 == right.value.real32;
    case CMPI_real64: return left.value.real64 == right.value.real64;
    case CMPI_dateTime: {
      const auto text = [](const CMPIDateTime* time) {
        return TextOf(time->ft->getStringFormat(time, nullptr));
      };
      return std::strcmp(text(left.value.dateTime), text(right.value.dateTime)) == 0;
    }
    default: return false;  // no other type can be a key (DSP0004, Key qualifier)
  }
}

bool SameNameSpace(const CMPIObjectPath* left, const CMPIObjectPath* right) {
  const char* left_name = TextOf(left->ft->getNameSpace(left, nullptr));
  const char* right_name = TextOf(right->ft->getNameSpace(right, nullptr));
  return *left_name == '\0' || *right_name == '\0' || SameName(left_name, right_name);
}

const char* ClassNameOf(const CMPIObjectPath* path) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIString* name = path->ft->getClassName(path, &status);
  ThrowUnlessOk(status);
  return TextOf(name);
}

}  // namespace

CMPICount KeyCount(const CmpiObjectPath& path) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPICount count = path.raw()->ft->getKeyCount(path.raw(), &status);
  ThrowUnlessOk(status);
  return count;
}

PathKey KeyAt(const CmpiObjectPath& path, CMPICount index) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIString* name = nullptr;
  const CMPIData value = path.raw()->ft->getKeyAt(path.raw(), index, &name, &status);
  ThrowUnlessOk(status);
  return {TextOf(name), value};
}

// Paths have a handful of keys.
bool KeysAreIn(const CmpiObjectPath& left, const CmpiObjectPath& right) {
  const CMPICount count = KeyCount(left);
  const CMPICount others = KeyCount(right);
  for (CMPICount index = 0; index < count; ++index) {
    const PathKey wanted = KeyAt(left, index);
    CMPICount other = 0;
    while (other < others && !SameName(KeyAt(right, other).name, wanted.name)) ++other;
    if (other == others || !SameValue(wanted.value, KeyAt(right, other).value)) return false;
  }
  return true;
}

bool operator==(const CmpiObjectPath& left, const CmpiObjectPath& right) {
  const CMPIObjectPath* left_path = left.raw();
  const CMPIObjectPath* right_path = right.raw();
  if (left_path == right_path) return true;
  if (KeyCount(left) != KeyCount(right) ||
      !SameName(ClassNameOf(left_path), ClassNameOf(right_path)) ||
      !SameNameSpace(left_path, right_path)) {
    return false;
  }
  // Both ways, because a path may hold a key twice.
  // NOLINTNEXTLINE(readability-suspicious-call-argument)
  return KeysAreIn(left, right) && KeysAreIn(right, left);
}

}  // namespace ostInt
