/** @file
  Which devices of a table no record serves, and why.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Library/TvqDeviceLib.h>

namespace tvq::devices {

UnservedDevices::UnservedDevices(Bytes table, Kind kind, Span<const Key> served)
    : mTable(table), mKind(kind), mServed(served), mAt(smbios::Walk(table).begin()) {
  smbios::SizeType wanted = 0;
  for (const Structure& structure : smbios::Walk(table)) {
    wanted += KindOf(structure) == kind ? 1 : 0;
  }
  // A string number past the last string makes the driver read names from elsewhere than they are
  // read here. Where there are as many records as devices, each device has one all the same.
  if (served.Size() >= wanted) {
    mAt = smbios::Walk(Bytes()).begin();
  }
}

bool UnservedDevices::Next(Unserved& device) {
  for (; mAt != smbios::RangeEnd(); ++mAt) {
    if (!mTableEnd && EndsTable(*mAt)) {
      mTableEnd = *mAt;
    }
    if (KindOf(*mAt) == mKind && !IsServed(*mAt)) {
      device = Explain(*mAt);
      ++mAt;
      return true;
    }
  }
  return false;
}

/// Of the devices with one key, a record is that of the first.
bool UnservedDevices::IsServed(const Structure& device) const {
  const Key key = KeyOf(device);
  bool hasRecord = false;
  for (const Key& served : mServed) {
    hasRecord |= served == key;
  }
  return hasRecord && !mTableEnd && FirstWith(key).Offset() == device.Offset();
}

Structure UnservedDevices::FirstWith(const Key& key) const {
  for (const Structure& structure : smbios::Walk(mTable)) {
    if (KindOf(structure) == mKind && KeyOf(structure) == key) {
      return structure;
    }
  }
  return Structure();
}

Unserved UnservedDevices::Explain(const Structure& device) {
  if (mStop) {
    return {device, Unserved::Reason::kBehind, mStop};
  }
  if (mTableEnd) {
    return {device, Unserved::Reason::kBehindTable, mTableEnd};
  }
  mStop = device;
  const Structure first = FirstWith(KeyOf(device));
  return first.Offset() == device.Offset()
             ? Unserved{device, Unserved::Reason::kRefused, Structure()}
             : Unserved{device, Unserved::Reason::kClash, first};
}

}  // namespace tvq::devices
