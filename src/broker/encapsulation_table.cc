// CMPIBrokerEncFT: factories of objects and helpers.

#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/entry.h"
#include "broker/error_object.h"
#include "broker/guest.h"
#include "broker/manager.h"
#include "broker/tables.h"
#include "cim/date_time.h"
#include "cim/text.h"

namespace broker {

namespace {

// The factories are alike: take the call, refuse what is not there, make the object on top.
template <class T, class Make>
typename T::Record* New(const CMPIBroker* mb, const char* function, CMPIStatus* rc, Make make) {
  Call* call = CallFor(mb, function, rc);
  if (call == nullptr) return nullptr;
  T* object = make(call->region());
  if (object == nullptr) {
    SetCode(rc, CMPI_RC_ERR_INVALID_PARAMETER);
    return nullptr;
  }
  return Made(rc, object);
}

CMPIInstance* NewInstanceFor(const CMPIBroker* mb, const CMPIObjectPath* op, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.newInstance";
  return New<InstanceObject>(mb, kFunction, rc, [&](Region& region) -> InstanceObject* {
    const auto* path = Use<PathObject>(op, kFunction);
    return path != nullptr ? NewInstance(region, *path) : nullptr;
  });
}

CMPIObjectPath* NewObjectPath(const CMPIBroker* mb, const char* ns, const char* cn,
                              CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.newObjectPath";
  return New<PathObject>(mb, kFunction, rc, [&](Region& region) -> PathObject* {
    if (cn == nullptr) {
      ReportMisuse(kFunction, "a null class name");
      return nullptr;
    }
    return NewPath(region, ns != nullptr ? ns : "", cn);
  });
}

CMPIArgs* NewArguments(const CMPIBroker* mb, CMPIStatus* rc) {
  return New<ArgsObject>(mb, "CMPIBroker.newArgs", rc,
                         [](Region& region) { return NewArgs(region); });
}

CMPIString* NewText(const CMPIBroker* mb, const char* data, CMPIStatus* rc) {
  return New<StringObject>(mb, "CMPIBroker.newString", rc, [&](Region& region) {
    return NewString(region, data != nullptr ? data : "");
  });
}

CMPIArray* NewArrayOf(const CMPIBroker* mb, CMPICount max, CMPIType type, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.newArray";
  return New<ArrayObject>(mb, kFunction, rc, [&](Region& region) -> ArrayObject* {
    // Some guests name the array's type, most the elements'.
    const auto element_type = static_cast<CMPIType>(type & ~CMPI_ARRAY);
    if (!IsDataType(element_type)) {
      ReportMisuse(kFunction, "elements of type " + cim::TypeName(type));
      return nullptr;
    }
    return NewArray(region, max, element_type);
  });
}

constexpr std::uint64_t kLastTime = 253'402'300'799'999'999;  // the end of the year 9999

DateTimeObject* NewTime(Region& region, std::uint64_t binary, bool interval) {
  constexpr std::uint64_t kLongestInterval = 8'639'999'999'999'999'999ULL;  // 99999999 days
  if (binary > (interval ? kLongestInterval : kLastTime)) return nullptr;
  return NewDateTime(region, interval ? cim::IntervalText(binary) : cim::TimeText(binary));
}

CMPIDateTime* NewDateTimeNow(const CMPIBroker* mb, CMPIStatus* rc) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto binary = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  return New<DateTimeObject>(mb, "CMPIBroker.newDateTime", rc, [&](Region& region) {
    return NewTime(region, static_cast<std::uint64_t>(binary), false);
  });
}

CMPIDateTime* NewDateTimeFromBinary(const CMPIBroker* mb, CMPIUint64 binary, CMPIBoolean interval,
                                    CMPIStatus* rc) {
  return New<DateTimeObject>(mb, "CMPIBroker.newDateTimeFromBinary", rc, [&](Region& region) {
    return NewTime(region, binary, interval != 0);
  });
}

CMPIDateTime* NewDateTimeFromChars(const CMPIBroker* mb, const char* text, CMPIStatus* rc) {
  return New<DateTimeObject>(
      mb, "CMPIBroker.newDateTimeFromChars", rc, [&](Region& region) -> DateTimeObject* {
        return text != nullptr && cim::ReadTime(text) ? NewDateTime(region, text) : nullptr;
      });
}

CMPISelectExp* NewSelectExp(const CMPIBroker*, const char*, const char*, CMPIArray**,
                            CMPIStatus* rc) {
  return Answer(rc, CMPI_RC_ERR_NOT_SUPPORTED, static_cast<CMPISelectExp*>(nullptr));
}

CMPIError* NewErrorOf(const CMPIBroker* mb, const char* owner, const char* message_id,
                      const char* message, const CMPIErrorSeverity severity,
                      const CMPIErrorProbableCause cause, const CMPIrc code, CMPIStatus* rc) {
  return New<ErrorObject>(mb, "CMPIBroker.newCMPIError", rc, [&](Region& region) {
    ErrorObject* error = NewError(region);
    if (owner != nullptr) error->owner = region.CopyText(owner);
    if (message_id != nullptr) error->message_id = region.CopyText(message_id);
    if (message != nullptr) error->message = region.CopyText(message);
    error->severity = severity;
    error->cause = cause;
    error->status_code = code;
    return error;
  });
}

// ---------------------------------------------------------------------------------------------
// Helpers

CMPIBoolean ClassPathIsA(const CMPIBroker*, const CMPIObjectPath* op, const char* type,
                         CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIBroker.classPathIsA");
  if (path == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIBoolean{0});
  if (type == nullptr) {
    ReportMisuse("CMPIBroker.classPathIsA", "a null class name");
    return Answer(rc, CMPI_RC_ERR_INVALID_PARAMETER, CMPIBoolean{0});
  }
  const bool is_a = cim::schema::IsA(path->class_name, type);
  return Answer(rc, CMPI_RC_OK, static_cast<CMPIBoolean>(is_a));
}

std::optional<std::string> ObjectText(const void* object, ObjectKind kind) {
  switch (kind) {
    case ObjectKind::kString: return std::string(static_cast<const StringObject*>(object)->view());
    case ObjectKind::kPath: return TextOf(*static_cast<const PathObject*>(object));
    case ObjectKind::kInstance:
      return cim::ToText(cim::Value(ToValue(*static_cast<const InstanceObject*>(object))));
    case ObjectKind::kDateTime: return static_cast<const DateTimeObject*>(object)->text;
    default: return RecordName(kind);
  }
}

CMPIString* ObjectToString(const CMPIBroker* mb, const void* object, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.toString";
  return New<StringObject>(mb, kFunction, rc, [&](Region& region) -> StringObject* {
    const ObjectState* state = UseAny(object, kFunction);
    if (state == nullptr) return nullptr;
    const auto text = ObjectText(object, state->kind);
    return text ? NewString(region, *text) : nullptr;
  });
}

CMPIBoolean IsOfType(const CMPIBroker*, const void* object, const char* type, CMPIStatus* rc) {
  const ObjectState* state = UseAny(object, "CMPIBroker.isOfType");
  if (state == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIBoolean{0});
  const bool same = type != nullptr && std::string_view(type) == RecordName(state->kind);
  return Answer(rc, CMPI_RC_OK, static_cast<CMPIBoolean>(same));
}

CMPIString* GetType(const CMPIBroker* mb, const void* object, CMPIStatus* rc) {
  constexpr const char* kFunction = "CMPIBroker.getType";
  return New<StringObject>(mb, kFunction, rc, [&](Region& region) -> StringObject* {
    const ObjectState* state = UseAny(object, kFunction);
    return state != nullptr ? NewString(region, RecordName(state->kind)) : nullptr;
  });
}

// ---------------------------------------------------------------------------------------------
// Messages. There are no message files: the default text is the message.

// One insert of a message: a type code and a value, as variadic arguments carry them.
std::string NextInsert(va_list& arguments) {
  const int type = va_arg(arguments, int);
  switch (type) {
    case CMPI_chars: {
      const char* text = va_arg(arguments, const char*);
      return text != nullptr ? text : "";
    }
    case CMPI_string: {
      const auto* text = Use<StringObject>(va_arg(arguments, const CMPIString*), "getMessage");
      return std::string(text != nullptr ? text->view() : "");
    }
    case CMPI_uint64: return std::to_string(va_arg(arguments, CMPIUint64));
    case CMPI_sint64: return std::to_string(va_arg(arguments, CMPISint64));
    case CMPI_uint8:
    case CMPI_uint16:
    case CMPI_uint32: return std::to_string(va_arg(arguments, CMPIUint32));
    case CMPI_real32:
    case CMPI_real64: return std::to_string(va_arg(arguments, double));
    case CMPI_boolean: return va_arg(arguments, int) != 0 ? "true" : "false";
    default: return std::to_string(va_arg(arguments, int));
  }
}

// "$1" to "$9" stand for the inserts.
std::string FillIn(std::string_view text, const std::vector<std::string>& inserts) {
  std::string filled;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto number =
        text[i] == '$' && i + 1 < text.size() ? static_cast<unsigned>(text[i + 1] - '0') : 10U;
    if (number < 1 || number > 9 || number > inserts.size()) {
      filled += text[i];
      continue;
    }
    filled += inserts[number - 1];
    ++i;
  }
  return filled;
}

// Guards itself: an entry has no variable arguments.
CMPIString* Message(const CMPIBroker* mb, const char* text, CMPIStatus* rc, CMPICount count,
                    va_list& arguments) {
  return AnswerOrFail(rc, [&] {
    std::vector<std::string> inserts;
    for (CMPICount i = 0; i < count; ++i) inserts.push_back(NextInsert(arguments));
    return New<StringObject>(mb, "CMPIBroker.getMessage", rc, [&](Region& region) {
      return NewString(region, FillIn(text != nullptr ? text : "", inserts));
    });
  });
}

CMPIString* GetMessage(const CMPIBroker* mb, const char*, const char* text, CMPIStatus* rc,
                       CMPICount count, ...) {
  va_list arguments;
  va_start(arguments, count);
  CMPIString* message = Message(mb, text, rc, count, arguments);
  va_end(arguments);
  return message;
}

CMPIString* GetMessage2(const CMPIBroker* mb, const char*, const CMPIMsgFileHandle,
                        const char* text, CMPIStatus* rc, CMPICount count, ...) {
  va_list arguments;
  va_start(arguments, count);
  CMPIString* message = Message(mb, text, rc, count, arguments);
  va_end(arguments);
  return message;
}

CMPIStatus OpenMessageFile(const CMPIBroker*, const char*, CMPIMsgFileHandle* handle) {
  if (handle != nullptr) *handle = nullptr;
  return Answer(CMPI_RC_ERR_NOT_SUPPORTED);
}
CMPIStatus CloseMessageFile(const CMPIBroker*, const CMPIMsgFileHandle) {
  return Answer(CMPI_RC_ERR_NOT_SUPPORTED);
}

// The text comes as one or the other.
CMPIStatus PassOn(const CMPIBroker* mb, LogEntry::Source source, int level, const char* id,
                  const char* text, const CMPIString* string) {
  const Manager& manager = Manager::Of(mb);
  if (!manager.options().log) return Answer(CMPI_RC_OK);
  LogEntry entry{source, level, id != nullptr ? id : "", text != nullptr ? text : ""};
  if (string != nullptr) {
    const auto* object = Use<StringObject>(string, "CMPIBroker.logMessage");
    if (object == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
    entry.text = object->view();
  }
  manager.options().log(entry);
  return Answer(CMPI_RC_OK);
}

CMPIStatus LogMessage(const CMPIBroker* mb, int severity, const char* id, const char* text,
                      const CMPIString* string) {
  return PassOn(mb, LogEntry::Source::kLog, severity, id, text, string);
}

CMPIStatus Trace(const CMPIBroker* mb, int level, const char* component, const char* text,
                 const CMPIString* string) {
  return PassOn(mb, LogEntry::Source::kTrace, level, component, text, string);
}

}  // namespace

CMPIBrokerEncFT broker_encapsulation = {
    CMPIVersion200,
    Entry<NewInstanceFor>,
    Entry<NewObjectPath>,
    Entry<NewArguments>,
    Entry<NewText>,
    Entry<NewArrayOf>,
    Entry<NewDateTimeNow>,
    Entry<NewDateTimeFromBinary>,
    Entry<NewDateTimeFromChars>,
    Entry<NewSelectExp>,
    Entry<ClassPathIsA>,
    Entry<ObjectToString>,
    Entry<IsOfType>,
    Entry<GetType>,
    GetMessage,
    Entry<LogMessage>,
    Entry<Trace>,
    Entry<NewErrorOf>,
    Entry<OpenMessageFile>,
    Entry<CloseMessageFile>,
    GetMessage2,
};

}  // namespace broker
