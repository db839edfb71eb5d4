#include "broker/provider_objects.h"

#include <utility>

#include "broker/object_manager.h"

namespace broker {

namespace {
constexpr const char* kThreadWithoutCall = "a thread that the request does not run on";
}  // namespace

void ReportMisuse(const char* function, std::string text) {
  if (const Call* call = Call::Current()) {
    call->manager().AddError(
        {std::string(call->class_name()), call->operation(), function, std::move(text)});
  }
}

namespace {

// Reports on this thread's call, or, on a thread without one, with the object's own manager.
bool Unusable(ObjectManager& manager, const char* function, std::string text) {
  if (Call::Current() != nullptr) {
    ReportMisuse(function, std::move(text));
  } else {
    manager.AddError({"", "outside of any request", function, std::move(text)});
  }
  return false;
}

bool IsAlive(const ObjectState& state, const char* function) {
  if (state.life == ObjectState::kAlive) return true;
  if (state.life == ObjectState::kDead) {
    return Unusable(*state.manager, function, "an object used after its release");
  }
  ReportMisuse(function, "no object of this object manager");
  return false;
}

}  // namespace

bool IsUsable(const ObjectState& state, ObjectKind kind, const char* function) {
  if (!IsAlive(state, function)) return false;
  ObjectManager& manager = state.region->manager();
  if (state.kind != kind) {
    return Unusable(
        manager, function,
        std::string("a ") + RecordName(state.kind) + " where a " + RecordName(kind) + " belongs");
  }
  const Call* owner = state.region->call();
  const Call* call = Call::Current();
  if (owner == nullptr || owner == call || !manager.checking()) return true;
  return Unusable(manager, function,
                  call != nullptr ? "an object of another call" : kThreadWithoutCall);
}

const ObjectState* UseAny(const void* object, const char* function) {
  if (object == nullptr) {
    ReportMisuse(function, "a null object");
    return nullptr;
  }
  const auto* state =
      reinterpret_cast<const ObjectState*>(static_cast<const char*>(object) + kStateOffset);
  return IsUsable(*state, state->kind, function) ? state : nullptr;
}

Region& RegionFor(const ObjectState& state) {
  Call* call = Call::Current();
  return call != nullptr ? call->region() : *state.region;
}

Call* CallFor(const CMPIBroker* mb, const char* function, CMPIStatus* rc) {
  Call* call = Call::Current();
  if (call == nullptr) {
    ObjectManager::Of(mb).AddError({"", "outside of any request", function, kThreadWithoutCall});
    SetCode(rc, CMPI_RC_ERR_FAILED);
  }
  return call;
}

// ---------------------------------------------------------------------------------------------
// Values

namespace {

// The value's object, copied; nullptr where the provider may not use it.
template <class T>
typename T::Record* Taken(Region& region, const typename T::Record* record, const char* function) {
  const T* object = Use<T>(record, function);
  return object != nullptr ? &Copy(region, *object)->record : nullptr;
}

// Stores `copied` where `held` says; a null record is a null value, one that may not be used an
// error.
template <class T>
CMPIrc Keep(Region& region, typename T::Record* given, typename T::Record** held, CMPIData* taken,
            const char* function) {
  if (given == nullptr) {
    *taken = NullData(taken->type);
    return CMPI_RC_OK;
  }
  *held = Taken<T>(region, given, function);
  return *held != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE;
}

CMPIrc TakeArray(Region& region, CMPIArray* given, CMPIData* taken, const char* function) {
  const CMPIType type = taken->type;
  const CMPIrc code = Keep<ArrayObject>(region, given, &taken->value.array, taken, function);
  if (code != CMPI_RC_OK || (taken->state & CMPI_nullValue) != 0) return code;
  if ((Behind<ArrayObject>(taken->value.array)->element_type | CMPI_ARRAY) == type) return code;
  ReportMisuse(function, "an array of another type than is stated");
  return CMPI_RC_ERR_TYPE_MISMATCH;
}

}  // namespace

CMPIrc TakeValue(Region& region, const CMPIValue* value, CMPIType type, const char* function,
                 CMPIData* taken) {
  *taken = NullData(type);
  if (type == CMPI_null) return CMPI_RC_OK;
  if (!IsDataType(type)) {
    ReportMisuse(function, "a value of type " + cim::TypeName(type));
    return CMPI_RC_ERR_INVALID_DATA_TYPE;
  }
  if (value == nullptr) return CMPI_RC_OK;
  taken->state = CMPI_goodValue;
  if (type == CMPI_chars) {
    // The pointer is the text itself, by definition of CMPI_chars.
    taken->value.string = &NewString(region, reinterpret_cast<const char*>(value))->record;
    return CMPI_RC_OK;
  }
  taken->value = *value;
  if ((type & CMPI_ARRAY) != 0) return TakeArray(region, value->array, taken, function);
  switch (type) {
    case CMPI_string:
      return Keep<StringObject>(region, value->string, &taken->value.string, taken, function);
    case CMPI_ref: return Keep<PathObject>(region, value->ref, &taken->value.ref, taken, function);
    case CMPI_instance:
      return Keep<InstanceObject>(region, value->inst, &taken->value.inst, taken, function);
    case CMPI_dateTime:
      return Keep<DateTimeObject>(region, value->dateTime, &taken->value.dateTime, taken, function);
    default: return CMPI_RC_OK;
  }
}

// ---------------------------------------------------------------------------------------------
// What the tables have in common

CMPIData NamedByName(const NamedList& list, const char* name, CMPIStatus* rc,
                     const char* function) {
  if (name == nullptr) {
    ReportMisuse(function, "a null name");
    return NotThere(rc, CMPI_RC_ERR_INVALID_PARAMETER);
  }
  const NamedData* item = list.Find(name);
  return item != nullptr ? Answer(rc, CMPI_RC_OK, item->data) : NotThere(rc);
}

}  // namespace broker
