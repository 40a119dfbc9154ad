/** @file
  Device record: what TVQSMBIOS knows of one processor, one memory module, or the system.

  A record is built once, installed on a handle of its own, and never freed. All strings belong to
  the record; a NULL string means "not known". The record is packed: read its fields by value and
  take no pointer to one.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_RECORD_H_
#define TVQ_RECORD_H_

#include <Protocol/DevicePath.h>
#include <Protocol/TvqInventory.h>

#define TVQ_RECORD_GUID \
  { 0xe34ebf3a, 0x301b, 0x418e, { 0x80, 0x15, 0x3d, 0x6c, 0x3a, 0x08, 0x85, 0x28 } }

///
/// Vendor GUID of the device-path node that names a record.
///
#define TVQ_DEVICE_PATH_VENDOR_GUID \
  { 0xea082e96, 0xb64b, 0x48b3, { 0xa1, 0x53, 0x0a, 0x0f, 0xe8, 0xbf, 0x90, 0x5e } }

#define TVQ_RECORD_SIGNATURE  SIGNATURE_32 ('S', 'T', 'V', 'Q')

#define TVQ_DEVICE_TYPE_CPU     2
#define TVQ_DEVICE_TYPE_DIMM    3
#define TVQ_DEVICE_TYPE_SYSTEM  4

#define TVQ_CACHE_LEVELS  3
#define TVQ_HBM_STACKS    4

#pragma pack(1)

///
/// One cache level of a processor, from SMBIOS type 7 (SMBIOS 7.8). Sizes stay coded as there.
///
typedef struct {
  UINT16    CacheLevel;            ///< The level minus one.
  UINT16    CacheConfiguration;    ///< The whole configuration word.
  UINT16    CacheLocation;         ///< Bits 6:5 of the configuration, kept in place.
  UINT16    MaximumSize;
  UINT16    InstalledSize;
  UINT16    Reserved;              ///< 0.
  UINT16    CurrentSRAMType;
  UINT8     CacheSpeed;            ///< Nanoseconds.
  UINT8     ErrorCorrectionType;
  UINT8     SystemCacheType;
  UINT8     Associativity;
} CACHE_INFO;

///
/// One high-bandwidth-memory stack of a processor, from SMBIOS type 17 (SMBIOS 7.18).
///
typedef struct {
  UINT16    Size;                  ///< As coded in SMBIOS.
  UINT64    NonVolatileSize;       ///< Bytes.
  UINT64    VolatileSize;          ///< Bytes.
  UINT64    CacheSize;             ///< Bytes.
  UINT16    Speed;                 ///< MT/s.
  UINT8     MemoryType;
} HBM_INFO;

///
/// One chassis, from SMBIOS type 3 (SMBIOS 7.4).
///
typedef struct {
  CHAR16    *Manufacturer;
  CHAR16    *ServiceTag;
  CHAR16    *AssetTag;
  UINT8     BootUpState;
  UINT8     PowerSupplyState;
  UINT8     ThermalState;
  UINT8     SecurityStatus;
  UINT8     Height;                ///< Rack units.
} CHASSIS_INFO;

///
/// One physical memory array, from SMBIOS type 16 (SMBIOS 7.17).
///
typedef struct {
  CHAR16    *Name;                 ///< Name of the Use value; empty for values without one.
  UINT8     Location;
  UINT8     Use;
  UINT8     MemoryErrorCorrection;
  UINT32    MaximumCapacity;       ///< Kilobytes.
  UINT16    MemoryErrorInfoHandle;
  UINT16    NumberOfMemoryDevices;
  UINT64    ExtendedMaximumCapacity;   ///< Bytes.
} PMA_INFO;

///
/// The firmware, from SMBIOS type 0 (SMBIOS 7.1).
///
typedef struct {
  CHAR16    *BIOSVersion;
  CHAR16    *BIOSReleaseDate;
} BIOS_INFO;

///
/// One base board, from SMBIOS type 2 (SMBIOS 7.3).
///
typedef struct {
  CHAR16    *LocationInChassis;
  UINT16    ChassisHandle;
} BASE_BOARD_INFO;

///
/// One system slot, from SMBIOS type 9 (SMBIOS 7.10).
///
typedef struct {
  CHAR16    *Desig;
  UINT8     Type;
  UINT8     Width;
  UINT8     Usage;
  UINT8     Len;
  UINT16    ID;
  UINT8     Bus;
  UINT8     DevFn;                 ///< Bus * 256 + DevFn is the slot's bus, device and function.
  UINT8     HotPlug;               ///< Slot Characteristics 2; 0 or 1 once ConfigXml is there.
} PCI_SLOT_INFO;

///
/// What every record has.
///
typedef struct {
  CHAR16    *MarketingName;
  CHAR16    *WWN;                  ///< Serial number of a module; consumers use 14 characters.
  UINT8     DeviceType;            ///< TVQ_DEVICE_TYPE_*.
} TVQ_GENERIC;

///
/// A processor, from SMBIOS type 4 (SMBIOS 7.5). Speeds and the clock are in MHz.
///
typedef struct {
  TVQ_GENERIC    Generic;
  CHAR16         *FQDD;
  UINT8          Socket;           ///< Fourth character of the socket designation minus '0'.
  UINT8          CoreCount;
  UINT8          ProcessorFamily;
  UINT16         CurrentSpeed;
  UINT16         MaxSpeed;
  UINT16         ExternalClock;
  UINT8          Status;
  UINT8          ThreadCount;
  UINT8          EnabledCoreCount;
  UINT8          Voltage;          ///< As coded in SMBIOS.
  UINT16         ProcessorCharacteristics;
  CHAR16         *ProcessorManufacturer;
  CHAR16         *ProcessorVersion;
  UINT64         ProcessorID;      ///< The low 32 bits are the CPUID signature.
  CACHE_INFO     *CacheInfo[TVQ_CACHE_LEVELS];
  CHAR16         *PPIN;
  UINT32         HBMMaxCapacity;   ///< Kilobytes.
  UINT8          HBMPresence;      ///< 1: HBMMaxCapacity and the HBM members below hold.
  UINT8          HBMOnlyMode;
  UINT8          HBMLocation;
  UINT8          HBMErrorCorrectionType;
  HBM_INFO       *HBMInfo[TVQ_HBM_STACKS];
} TVQ_CPU;

///
/// A memory module, from SMBIOS type 17 (SMBIOS 7.18) and the OEM type 226.
///
typedef struct {
  TVQ_GENERIC    Generic;
  CHAR16         *FQDD;
  UINT16         Handle;           ///< SMBIOS handle of the memory device.
  CHAR16         *DeviceLocator;   ///< Three characters.
  CHAR16         *Manufacturer;
  CHAR16         *BankLocator;
  CHAR16         *AssetTag;
  UINT16         Speed;            ///< MT/s.
  UINT8          MemoryType;
  CHAR8          *PartNumber;      ///< ASCII, the record's only text of 8-bit characters.
  UINT16         Size;             ///< As coded in SMBIOS.
  UINT16         TotalWidth;       ///< Bits.
  UINT16         DataWidth;        ///< Bits.
  UINT8          FormFactor;
  UINT8          DeviceSet;
  UINT32         ExtendedSize;     ///< Megabytes.
  UINT8          Attributes;
  UINT16         ConfiguredMemClockSpeed;   ///< MT/s.
  UINT16         TypeDetail;
  CHAR16         *FirmwareVersion; ///< Consumers use 31 characters.
  UINT32         ComponentID;      ///< 0: not known.
  UINT16         ProductID;        ///< 0: not known.
  UINT8          MemTechnology;
  UINT16         MemOpModeCap;
  UINT16         ModuleMID;
  UINT16         ModulePID;
  UINT16         MemSubMID;
  UINT16         MemSubPID;
  UINT64         NonVolatileSize;  ///< Bytes.
  UINT64         VolatileSize;     ///< Bytes.
  UINT64         CacheSize;        ///< Bytes.
  UINT64         LogicalSize;      ///< Bytes.
} TVQ_DIMM;

///
/// The machine as a whole. Each count is that of its array; a slot of an array, and the array
/// itself, may be NULL.
///
typedef struct {
  TVQ_GENERIC        Generic;
  UINT8              Socket;       ///< Instance number, 1.
  UINT8              NumChassis;
  UINT8              NumPMA;
  UINT8              NumBaseBoards;
  UINT8              NumPCISlots;
  CHAR16             *ProductName;
  CHAR16             *Manufacturer;
  CHAR16             *ServiceTag;
  CHASSIS_INFO       **ChassisInfo;
  PMA_INFO           **PMAInfo;
  BIOS_INFO          *BIOSInfo;
  BASE_BOARD_INFO    **BaseBoardInfo;
  PCI_SLOT_INFO      **PCISlotInfo;
  UINT8              UUID[16];     ///< In stored order.
} TVQ_SYSTEM;

///
/// The parts of the device types overlay one another; generic.DeviceType tells which one holds.
///
typedef union {
  TVQ_GENERIC    generic;
  TVQ_CPU        cpu;
  TVQ_DIMM       dimm;
  TVQ_SYSTEM     system;
} TVQ_DEVICE;

///
/// The record. Installed under gTvqRecordGuid; its Protocol member is the inventory protocol.
///
typedef struct {
  UINT64                      Signature;    ///< TVQ_RECORD_SIGNATURE.
  TVQ_DEVICE                  device;
  EFI_DEVICE_PATH_PROTOCOL    *DevicePath;  ///< The record's own TVQ_DEVICE_PATH.
  CHAR8                       *ConfigXml;   ///< The configuration document, after the first Get that
                                            ///< had memory to keep it; else NULL.
  VOID                        *Reserved1;   ///< NULL.
  TVQ_INVENTORY_PROTOCOL      Protocol;
  VOID                        *Reserved2;   ///< NULL.
  UINT32                      Valid;        ///< 1.
} smTVQ;

///
/// Device path of a record: one hardware vendor node (UEFI 10.3.2.4) and the end of the path.
/// Data[0] is the device type; the next bytes identify the instance: the socket number of a
/// processor or the system, three CHAR16 locator characters of a module. The rest is zero.
///
typedef struct {
  VENDOR_DEVICE_PATH          Vendor;
  UINT8                       Data[7];
  EFI_DEVICE_PATH_PROTOCOL    End;
} TVQ_DEVICE_PATH;

#pragma pack()

STATIC_ASSERT (sizeof (CACHE_INFO) == 18, "CACHE_INFO is packed");
STATIC_ASSERT (sizeof (HBM_INFO) == 29, "HBM_INFO is packed");
STATIC_ASSERT (sizeof (CHASSIS_INFO) == 29, "CHASSIS_INFO is packed");
STATIC_ASSERT (sizeof (PMA_INFO) == 27, "PMA_INFO is packed");
STATIC_ASSERT (sizeof (BIOS_INFO) == 16, "BIOS_INFO is packed");
STATIC_ASSERT (sizeof (BASE_BOARD_INFO) == 10, "BASE_BOARD_INFO is packed");
STATIC_ASSERT (sizeof (PCI_SLOT_INFO) == 17, "PCI_SLOT_INFO is packed");
STATIC_ASSERT (sizeof (TVQ_GENERIC) == 17, "the generic part is 17 bytes");
STATIC_ASSERT (sizeof (TVQ_CPU) == 136, "the processor part ends at 136");
STATIC_ASSERT (OFFSET_OF (TVQ_CPU, ProcessorID) == 56, "ProcessorID");
STATIC_ASSERT (OFFSET_OF (TVQ_CPU, HBMInfo) == 104, "HBMInfo");
STATIC_ASSERT (sizeof (TVQ_DIMM) == 144, "the module part ends at 144");
STATIC_ASSERT (OFFSET_OF (TVQ_DIMM, PartNumber) == 62, "PartNumber");
STATIC_ASSERT (OFFSET_OF (TVQ_DIMM, LogicalSize) == 136, "LogicalSize is the last field");
STATIC_ASSERT (sizeof (TVQ_SYSTEM) == 102, "the system part ends at 102");
STATIC_ASSERT (OFFSET_OF (TVQ_SYSTEM, UUID) == 86, "UUID");
STATIC_ASSERT (sizeof (TVQ_DEVICE) == 144, "the union is 144 bytes");
STATIC_ASSERT (sizeof (smTVQ) == 220, "the record is 220 bytes");
STATIC_ASSERT (OFFSET_OF (smTVQ, device) == 8, "device");
STATIC_ASSERT (OFFSET_OF (smTVQ, DevicePath) == 152, "DevicePath");
STATIC_ASSERT (OFFSET_OF (smTVQ, ConfigXml) == 160, "ConfigXml");
STATIC_ASSERT (OFFSET_OF (smTVQ, Protocol) == 176, "Protocol");
STATIC_ASSERT (OFFSET_OF (smTVQ, Valid) == 216, "Valid");
STATIC_ASSERT (sizeof (TVQ_DEVICE_PATH) == 31, "the device path is 31 bytes");
STATIC_ASSERT (OFFSET_OF (TVQ_DEVICE_PATH, Data) == 20, "the vendor data starts at byte 20");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gTvqRecordGuid;
extern EFI_GUID  gTvqDevicePathVendorGuid;

#ifdef __cplusplus
}
#endif

#endif
