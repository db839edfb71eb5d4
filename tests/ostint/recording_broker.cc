#include "ostint/recording_broker.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

struct Object {
  virtual ~Object() = default;
};

struct StringObject : Object {
  CMPIString record{};
  std::string text;
};

struct PathObject : Object {
  CMPIObjectPath record{};
  std::string name_space;
  std::string class_name;
  std::vector<std::pair<std::string, CMPIData>> keys;
};

struct InstanceObject : Object {
  CMPIInstance record{};
  const CMPIObjectPath* path = nullptr;  // of the test, or made for the instance
  std::vector<std::pair<std::string, CMPIData>> properties;
};

struct ArrayObject : Object {
  CMPIArray record{};
};

struct DateTimeObject : Object {
  CMPIDateTime record{};
  std::string text;
};

struct EnumerationObject : Object {
  CMPIEnumeration record{};
  std::vector<CMPIData> elements;
  std::size_t next = 0;
};

struct ResultObject : Object {
  CMPIResult record{};
};

struct Refusal {
  CMPIrc rc;
  std::string message;
};

// A copy of the first `size` bytes of a table (or record), in a block of its own.
struct Block {
  Block(const void* source, std::size_t size) : memory(std::malloc(size)) {
    std::memcpy(memory, source, size);
  }
  ~Block() { std::free(memory); }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  void* memory;
};

}  // namespace

struct RecordingBroker::State {
  Offer offer;
  std::map<std::string, Refusal> refusals;
  std::vector<std::string> calls;
  std::vector<std::unique_ptr<Object>> made;   // through the tables
  std::vector<std::unique_ptr<Object>> owned;  // by the test
  std::vector<std::unique_ptr<Block>> blocks;
  CMPIBroker* record = nullptr;
  CMPIObjectPathFT* path_table = nullptr;
  CMPIInstanceFT* instance_table = nullptr;
  CMPIArrayFT* array_table = nullptr;
  CMPIStringFT* string_table = nullptr;
  CMPIDateTimeFT* date_time_table = nullptr;
  CMPIEnumerationFT* enumeration_table = nullptr;
  CMPIResultFT* result_table = nullptr;
  const char** filter_properties = nullptr;
  const char** filter_keys = nullptr;
  const CMPIContext* upcall_context = nullptr;
  const CMPIObjectPath* upcall_path = nullptr;
  const char** upcall_properties = nullptr;
  int open_marks = 0;
  int live_clones = 0;
  RecordingBroker* broker = nullptr;
};

namespace {

thread_local RecordingBroker::State* current = nullptr;

template <typename Made>
Made* NewObject(std::vector<std::unique_ptr<Object>>& store) {
  auto object = std::make_unique<Made>();
  Made* made = object.get();
  made->record.hdl = made;
  store.push_back(std::move(object));
  return made;
}

CMPIString* NewString(std::vector<std::unique_ptr<Object>>& store, const std::string& text) {
  auto* string = NewObject<StringObject>(store);
  string->record.ft = current->string_table;
  string->text = text;
  return &string->record;
}

template <typename Of, typename Record>
Of* ObjectOf(const Record* record) {
  return static_cast<Of*>(record->hdl);
}

// Whether the test has the function fail; `status` then says how.
bool Refuses(const char* function, CMPIStatus* status) {
  const auto found = current->refusals.find(function);
  CMPIStatus answer{CMPI_RC_OK, nullptr};
  if (found != current->refusals.end()) {
    answer.rc = found->second.rc;
    const std::string& message = found->second.message;
    if (!message.empty()) answer.msg = NewString(current->made, message);
  }
  if (status != nullptr) *status = answer;
  return found != current->refusals.end();
}

CMPIStatus StatusOf(const char* function) {
  CMPIStatus status{};
  Refuses(function, &status);
  return status;
}

constexpr CMPIData kNothing{CMPI_null, CMPI_nullValue, {}};

void Record(const std::string& call) { current->calls.push_back(call); }

// "uint8 3", "chars text", "ref Class": a value as it was passed.
std::string Describe(const CMPIValue* value, CMPIType type) {
  switch (type) {
    case CMPI_chars: return "chars " + std::string(reinterpret_cast<const char*>(value));
    case CMPI_string: return "string " + ObjectOf<StringObject>(value->string)->text;
    case CMPI_uint8: return "uint8 " + std::to_string(value->uint8);
    case CMPI_uint16: return "uint16 " + std::to_string(value->uint16);
    case CMPI_ref: return "ref " + ObjectOf<PathObject>(value->ref)->class_name;
    case CMPI_uint16 | CMPI_ARRAY: return value->array == nullptr ? "no array" : "uint16 array";
    default: return "type " + std::to_string(type);
  }
}

// The value as the object manager keeps it: text as a string of its own.
CMPIData Keep(const CMPIValue* value, CMPIType type) {
  CMPIData kept{type, CMPI_keyValue, {}};
  if (type != CMPI_chars) {
    kept.value = *value;
    return kept;
  }
  kept.type = CMPI_string;
  kept.value.string = NewString(current->owned, reinterpret_cast<const char*>(value));
  return kept;
}

// ------------------------------------------------------------------------------- the tables

CMPIObjectPath* NewObjectPath(const CMPIBroker*, const char* ns, const char* cn, CMPIStatus* rc) {
  Record(std::string("newObjectPath ") + ns + " " + cn);
  if (Refuses("newObjectPath", rc)) return nullptr;
  auto* path = NewObject<PathObject>(current->made);
  path->record.ft = current->path_table;
  path->name_space = ns;
  path->class_name = cn;
  return &path->record;
}

CMPIInstance* NewInstance(const CMPIBroker*, const CMPIObjectPath* op, CMPIStatus* rc) {
  Record("newInstance " + ObjectOf<PathObject>(op)->class_name);
  if (Refuses("newInstance", rc)) return nullptr;
  auto* instance = NewObject<InstanceObject>(current->made);
  instance->record.ft = current->instance_table;
  instance->path = op;
  if (current->offer.copies_keys) instance->properties = ObjectOf<PathObject>(op)->keys;
  return &instance->record;
}

CMPIString* NewStringFromChars(const CMPIBroker*, const char* data, CMPIStatus* rc) {
  return Refuses("newString", rc) ? nullptr : NewString(current->made, data);
}

CMPIArray* NewArray(const CMPIBroker*, CMPICount max, CMPIType type, CMPIStatus* rc) {
  Record("newArray " + std::to_string(max) + " of type " + std::to_string(type));
  if (Refuses("newArray", rc)) return nullptr;
  auto* array = NewObject<ArrayObject>(current->made);
  array->record.ft = current->array_table;
  return &array->record;
}

CMPIBoolean ClassPathIsA(const CMPIBroker*, const CMPIObjectPath*, const char* type,
                         CMPIStatus* rc) {
  if (Refuses("classPathIsA", rc)) return 0;
  const auto& classes = current->broker->class_is_a;
  // Any value but 0 is true.
  return std::find(classes.begin(), classes.end(), type) == classes.end() ? 0 : 2;
}

CMPIString* ToString(const CMPIBroker*, const void* object, CMPIStatus* rc) {
  if (Refuses("toString", rc)) return nullptr;
  const auto* path = static_cast<const CMPIObjectPath*>(object);
  return NewString(current->made, "path of " + ObjectOf<PathObject>(path)->class_name);
}

CMPIEnumeration* FoundElements(const char* function, const CMPIContext* ctx,
                               const CMPIObjectPath* op, const char** properties, CMPIStatus* rc) {
  current->upcall_context = ctx;
  current->upcall_path = op;
  current->upcall_properties = properties;
  if (Refuses(function, rc)) return nullptr;
  return current->broker->Enumeration(current->broker->found);
}

CMPIEnumeration* EnumerateInstanceNames(const CMPIBroker*, const CMPIContext* ctx,
                                        const CMPIObjectPath* op, CMPIStatus* rc) {
  return FoundElements("enumerateInstanceNames", ctx, op, nullptr, rc);
}

CMPIEnumeration* EnumerateInstances(const CMPIBroker*, const CMPIContext* ctx,
                                    const CMPIObjectPath* op, const char** properties,
                                    CMPIStatus* rc) {
  return FoundElements("enumerateInstances", ctx, op, properties, rc);
}

CMPIGcStat* Mark(const CMPIBroker*, CMPIStatus* rc) {
  if (Refuses("mark", rc)) return nullptr;
  ++current->open_marks;
  // One more than the position, so that no mark is null.
  const std::size_t mark = current->made.size() + 1;
  return reinterpret_cast<CMPIGcStat*>(mark);  // NOLINT(performance-no-int-to-ptr)
}

CMPIStatus Release(const CMPIBroker*, const CMPIGcStat* gc) {
  --current->open_marks;
  current->made.resize(reinterpret_cast<std::size_t>(gc) - 1);
  return StatusOf("release");
}

CMPIStatus AddKey(CMPIObjectPath* op, const char* name, const CMPIValue* value, CMPIType type) {
  Record(std::string("addKey ") + name + " " + Describe(value, type));
  const CMPIStatus status = StatusOf("addKey");
  if (status.rc == CMPI_RC_OK) {
    ObjectOf<PathObject>(op)->keys.emplace_back(name, Keep(value, type));
  }
  return status;
}

CMPIData Answer(CMPIData data) {
  if (current->offer.keys_as_chars && data.type == CMPI_string && data.value.string != nullptr) {
    data.type = CMPI_chars;
    data.value.chars = ObjectOf<StringObject>(data.value.string)->text.data();
  }
  return data;
}

CMPIData GetKey(const CMPIObjectPath* op, const char* name, CMPIStatus* rc) {
  if (Refuses("getKey", rc)) return kNothing;
  for (const auto& [key, data] : ObjectOf<PathObject>(op)->keys) {
    const bool same = current->offer.key_case ? key == name : strcasecmp(key.c_str(), name) == 0;
    if (same) return Answer(data);
  }
  if (rc != nullptr) rc->rc = CMPI_RC_ERR_NO_SUCH_PROPERTY;
  return kNothing;
}

CMPIData GetKeyAt(const CMPIObjectPath* op, CMPICount index, CMPIString** name, CMPIStatus* rc) {
  if (Refuses("getKeyAt", rc)) return kNothing;
  const auto& [key, data] = ObjectOf<PathObject>(op)->keys.at(index);
  if (name != nullptr) *name = NewString(current->made, key);
  return Answer(data);
}

CMPICount GetKeyCount(const CMPIObjectPath* op, CMPIStatus* rc) {
  if (Refuses("getKeyCount", rc)) return 0;
  return static_cast<CMPICount>(ObjectOf<PathObject>(op)->keys.size());
}

CMPIString* GetNameSpace(const CMPIObjectPath* op, CMPIStatus* rc) {
  if (Refuses("getNameSpace", rc)) return nullptr;
  return NewString(current->made, ObjectOf<PathObject>(op)->name_space);
}

CMPIString* GetClassName(const CMPIObjectPath* op, CMPIStatus* rc) {
  if (Refuses("getClassName", rc)) return nullptr;
  return NewString(current->made, ObjectOf<PathObject>(op)->class_name);
}

CMPIStatus SetProperty(const CMPIInstance*, const char* name, const CMPIValue* value,
                       CMPIType type) {
  Record(std::string("setProperty ") + name + " " + Describe(value, type));
  return StatusOf("setProperty");
}

CMPIData GetProperty(const CMPIInstance* inst, const char* name, CMPIStatus* rc) {
  if (Refuses("getProperty", rc)) return kNothing;
  for (const auto& [property, data] : ObjectOf<InstanceObject>(inst)->properties) {
    if (property == name) return data;
  }
  if (rc != nullptr) rc->rc = CMPI_RC_ERR_NO_SUCH_PROPERTY;
  return kNothing;
}

CMPIObjectPath* GetObjectPath(const CMPIInstance* inst, CMPIStatus* rc) {
  if (Refuses("getObjectPath", rc)) return nullptr;
  return const_cast<CMPIObjectPath*>(ObjectOf<InstanceObject>(inst)->path);
}

CMPIInstance* CloneInstance(const CMPIInstance* inst, CMPIStatus* rc) {
  if (Refuses("clone", rc)) return nullptr;
  auto* clone = NewObject<InstanceObject>(current->owned);
  clone->record.ft = current->instance_table;
  clone->path = ObjectOf<InstanceObject>(inst)->path;
  ++current->live_clones;
  return &clone->record;
}

CMPIStatus ReleaseInstance(CMPIInstance*) {
  --current->live_clones;
  return StatusOf("release");
}

CMPIStatus SetPropertyFilter(CMPIInstance*, const char** properties, const char** keys) {
  Record("setPropertyFilter");
  current->filter_properties = properties;
  current->filter_keys = keys;
  return StatusOf("setPropertyFilter");
}

CMPIStatus SetElementAt(CMPIArray*, CMPICount index, const CMPIValue* value, CMPIType type) {
  Record("setElementAt " + std::to_string(index) + " " + Describe(value, type));
  return StatusOf("setElementAt");
}

const char* GetCharPtr(const CMPIString* st, CMPIStatus* rc) {
  return Refuses("getCharPtr", rc) ? nullptr : ObjectOf<StringObject>(st)->text.c_str();
}

CMPIStatus ReturnInstance(const CMPIResult*, const CMPIInstance* inst) {
  const CMPIObjectPath* path = ObjectOf<InstanceObject>(inst)->path;
  std::string call = "returnInstance";
  if (path != nullptr && !ObjectOf<PathObject>(path)->keys.empty()) {
    const CMPIData& key = ObjectOf<PathObject>(path)->keys.front().second;
    if (key.type == CMPI_string) call += " " + TextOf(key.value.string);
  }
  Record(call);
  return StatusOf("returnInstance");
}

CMPIStatus ReturnObjectPath(const CMPIResult*, const CMPIObjectPath* ref) {
  Record("returnObjectPath " + ObjectOf<PathObject>(ref)->class_name);
  return StatusOf("returnObjectPath");
}

CMPIStatus ReturnDone(const CMPIResult*) {
  Record("returnDone");
  return StatusOf("returnDone");
}

CMPIData GetNext(const CMPIEnumeration* en, CMPIStatus* rc) {
  if (Refuses("getNext", rc)) return kNothing;
  auto* enumeration = ObjectOf<EnumerationObject>(en);
  return enumeration->elements.at(enumeration->next++);
}

CMPIBoolean HasNext(const CMPIEnumeration* en, CMPIStatus* rc) {
  if (Refuses("hasNext", rc)) return 0;
  const auto* enumeration = ObjectOf<EnumerationObject>(en);
  return enumeration->next < enumeration->elements.size() ? 1 : 0;
}

CMPIString* GetStringFormat(const CMPIDateTime* dt, CMPIStatus* rc) {
  if (Refuses("getStringFormat", rc)) return nullptr;
  return NewString(current->made, ObjectOf<DateTimeObject>(dt)->text);
}

CMPIBrokerFT BrokerTable(const Offer& offer) {
  CMPIBrokerFT table{};
  table.brokerCapabilities = CMPI_MB_Class_2;
  if (offer.mark_release) table.brokerCapabilities |= CMPI_MB_Supports_MemEnhancements;
  table.brokerVersion = offer.cmpi_2_0 ? CMPIVersion200 : CMPIVersion100;
  table.brokerName = offer.name;
  table.enumerateInstanceNames = EnumerateInstanceNames;
  table.enumerateInstances = EnumerateInstances;
  return table;
}

CMPIBrokerEncFT EncTable(int version) {
  CMPIBrokerEncFT table{};
  table.ftVersion = version;
  table.newInstance = NewInstance;
  table.newObjectPath = NewObjectPath;
  table.newString = NewStringFromChars;
  table.newArray = NewArray;
  table.classPathIsA = ClassPathIsA;
  table.toString = ToString;
  return table;
}

CMPIObjectPathFT PathTable(int version) {
  CMPIObjectPathFT table{};
  table.ftVersion = version;
  table.getNameSpace = GetNameSpace;
  table.getClassName = GetClassName;
  table.addKey = AddKey;
  table.getKey = GetKey;
  table.getKeyAt = GetKeyAt;
  table.getKeyCount = GetKeyCount;
  return table;
}

CMPIInstanceFT InstanceTable(int version) {
  CMPIInstanceFT table{};
  table.ftVersion = version;
  table.release = ReleaseInstance;
  table.clone = CloneInstance;
  table.getProperty = GetProperty;
  table.getObjectPath = GetObjectPath;
  table.setProperty = SetProperty;
  table.setPropertyFilter = SetPropertyFilter;
  return table;
}

CMPIResultFT ResultTable(int version) {
  CMPIResultFT table{};
  table.ftVersion = version;
  table.returnInstance = ReturnInstance;
  table.returnObjectPath = ReturnObjectPath;
  table.returnDone = ReturnDone;
  return table;
}

// Copies a table up to `end` (its size, or where the older version of it ends).
template <typename Table>
Table* Place(RecordingBroker::State& state, const Table& table, std::size_t end = sizeof(Table)) {
  state.blocks.push_back(std::make_unique<Block>(&table, end));
  return static_cast<Table*>(state.blocks.back()->memory);
}

}  // namespace

RecordingBroker::RecordingBroker(Offer offer) : state_(std::make_unique<State>()) {
  State& state = *state_;
  current = &state;
  state.broker = this;
  state.offer = offer;
  const bool v2 = offer.cmpi_2_0;
  const int version = v2 ? CMPIVersion200 : CMPIVersion100;
  const auto end = [v2](std::size_t whole, std::size_t old) { return v2 ? whole : old; };

  state.path_table = Place(state, PathTable(version));
  state.instance_table =
      Place(state, InstanceTable(version),
            end(sizeof(CMPIInstanceFT), offsetof(CMPIInstanceFT, setObjectPath)));
  CMPIArrayFT array{};
  array.ftVersion = version;
  array.setElementAt = SetElementAt;
  state.array_table = Place(state, array);
  CMPIStringFT string{};
  string.ftVersion = version;
  string.getCharPtr = GetCharPtr;
  state.string_table = Place(state, string);
  CMPIDateTimeFT date_time{};
  date_time.ftVersion = version;
  date_time.getStringFormat = GetStringFormat;
  state.date_time_table = Place(state, date_time);
  CMPIEnumerationFT enumeration{};
  enumeration.ftVersion = version;
  enumeration.getNext = GetNext;
  enumeration.hasNext = HasNext;
  state.enumeration_table = Place(state, enumeration);
  state.result_table = Place(state, ResultTable(version),
                             end(sizeof(CMPIResultFT), offsetof(CMPIResultFT, returnError)));

  CMPIBrokerMemFT memory{version, Mark, Release, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
  CMPIBroker record{};
  record.bft = Place(state, BrokerTable(offer));
  record.eft = Place(state, EncTable(version),
                     end(sizeof(CMPIBrokerEncFT), offsetof(CMPIBrokerEncFT, newCMPIError)));
  record.mft = offer.memory_table ? Place(state, memory) : nullptr;
  state.record = Place(state, record, end(sizeof(CMPIBroker), offsetof(CMPIBroker, mft)));
}

RecordingBroker::~RecordingBroker() { current = nullptr; }

const CMPIBroker* RecordingBroker::raw() const { return state_->record; }

const CMPIContext* RecordingBroker::Context() {
  static const CMPIContext context{};
  return &context;
}

void RecordingBroker::Fail(const std::string& function, CMPIrc rc, std::string message) {
  state_->refusals[function] = {rc, std::move(message)};
}

void RecordingBroker::Mend(const std::string& function) { state_->refusals.erase(function); }

CMPIString* RecordingBroker::String(const std::string& text) {
  return NewString(state_->owned, text);
}

CMPIObjectPath* RecordingBroker::Path(
    const std::string& name_space, const std::string& class_name,
    std::initializer_list<std::pair<std::string, CMPIData>> keys) {
  auto* path = NewObject<PathObject>(state_->owned);
  path->record.ft = state_->path_table;
  path->name_space = name_space;
  path->class_name = class_name;
  path->keys = keys;
  return &path->record;
}

CMPIInstance* RecordingBroker::Instance(const CMPIObjectPath* path) {
  auto* instance = NewObject<InstanceObject>(state_->owned);
  instance->path = path;
  instance->record.ft = state_->instance_table;
  return &instance->record;
}

CMPIDateTime* RecordingBroker::DateTime(const std::string& text) {
  auto* time = NewObject<DateTimeObject>(state_->owned);
  time->record.ft = state_->date_time_table;
  time->text = text;
  return &time->record;
}

CMPIEnumeration* RecordingBroker::Enumeration(std::vector<CMPIData> elements) {
  auto* enumeration = NewObject<EnumerationObject>(state_->owned);
  enumeration->record.ft = state_->enumeration_table;
  enumeration->elements = std::move(elements);
  return &enumeration->record;
}

CMPIResult* RecordingBroker::Result() {
  auto* result = NewObject<ResultObject>(state_->owned);
  result->record.ft = state_->result_table;
  return &result->record;
}

CMPIData RecordingBroker::Text(const std::string& text) {
  CMPIData data{CMPI_string, CMPI_goodValue, {}};
  data.value.string = String(text);
  return data;
}

CMPIData RecordingBroker::Chars(const std::string& text) {
  CMPIData data{CMPI_chars, CMPI_goodValue, {}};
  data.value.chars = ObjectOf<StringObject>(String(text))->text.data();
  return data;
}

CMPIData RecordingBroker::Reference(CMPIObjectPath* path) {
  CMPIData data{CMPI_ref, CMPI_goodValue, {}};
  data.value.ref = path;
  return data;
}

const std::vector<std::string>& RecordingBroker::calls() const { return state_->calls; }
const char** RecordingBroker::filter_properties() const { return state_->filter_properties; }
const char** RecordingBroker::filter_keys() const { return state_->filter_keys; }
const CMPIContext* RecordingBroker::upcall_context() const { return state_->upcall_context; }
const CMPIObjectPath* RecordingBroker::upcall_path() const { return state_->upcall_path; }
const char** RecordingBroker::upcall_properties() const { return state_->upcall_properties; }
std::size_t RecordingBroker::live_objects() const { return state_->made.size(); }
int RecordingBroker::live_clones() const { return state_->live_clones; }
int RecordingBroker::open_marks() const { return state_->open_marks; }

std::string TextOf(const CMPIString* string) {
  return string == nullptr ? std::string() : string->ft->getCharPtr(string, nullptr);
}

CMPIData AbsentValue(CMPIType type, CMPIValueState state) { return {type, state, {}}; }

CMPIData Uint8Value(CMPIUint8 value) {
  CMPIData data{CMPI_uint8, CMPI_goodValue, {}};
  data.value.uint8 = value;
  return data;
}

CMPIData Uint16Value(CMPIUint16 value) {
  CMPIData data{CMPI_uint16, CMPI_goodValue, {}};
  data.value.uint16 = value;
  return data;
}

CMPIData Uint64Value(CMPIUint64 value) {
  CMPIData data{CMPI_uint64, CMPI_goodValue, {}};
  data.value.uint64 = value;
  return data;
}

CMPIData Sint8Value(CMPISint8 value) {
  CMPIData data{CMPI_sint8, CMPI_goodValue, {}};
  data.value.sint8 = value;
  return data;
}

CMPIData Sint64Value(CMPISint64 value) {
  CMPIData data{CMPI_sint64, CMPI_goodValue, {}};
  data.value.sint64 = value;
  return data;
}
