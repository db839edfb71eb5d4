// CMPIDateTime.

#include "broker/entry.h"
#include "broker/guest.h"
#include "broker/tables.h"
#include "cim/date_time.h"

namespace broker {

namespace {

CMPIStatus Release(CMPIDateTime* dt) {
  return ReleaseObject<DateTimeObject>(dt, "CMPIDateTime.release");
}

CMPIDateTime* Clone(const CMPIDateTime* dt, CMPIStatus* rc) {
  return CloneObject<DateTimeObject>(dt, rc, "CMPIDateTime.clone");
}

CMPIUint64 GetBinaryFormat(const CMPIDateTime* dt, CMPIStatus* rc) {
  const auto* time = Use<DateTimeObject>(dt, "CMPIDateTime.getBinaryFormat");
  if (time == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIUint64{0});
  const auto read = cim::ReadTime(time->text);
  if (!read) return Answer(rc, CMPI_RC_ERR_FAILED, CMPIUint64{0});
  return Answer(rc, CMPI_RC_OK, CMPIUint64{read->microseconds});
}

CMPIString* GetStringFormat(const CMPIDateTime* dt, CMPIStatus* rc) {
  const auto* time = Use<DateTimeObject>(dt, "CMPIDateTime.getStringFormat");
  if (time == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIString*>(nullptr));
  }
  return Made(rc, NewString(RegionFor(time->state), time->text));
}

CMPIBoolean IsInterval(const CMPIDateTime* dt, CMPIStatus* rc) {
  const auto* time = Use<DateTimeObject>(dt, "CMPIDateTime.isInterval");
  if (time == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPIBoolean{0});
  return Answer(rc, CMPI_RC_OK, static_cast<CMPIBoolean>(time->text[21] == ':'));
}

}  // namespace

CMPIDateTimeFT date_time_table = {
    CMPIVersion200,         Entry<Release>,         Entry<Clone>,
    Entry<GetBinaryFormat>, Entry<GetStringFormat>, Entry<IsInterval>,
};

}  // namespace broker
