/** @file
  Platform protocol: what the reference platform keeps, for those who look at it.

  Produced by TvqPlatform. Asks the attributes that drivers registered through the platform services
  table, shows the lines of the debug log, and is told where stored data lies.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_H_
#define TVQ_PLATFORM_H_

#define TVQ_PLATFORM_PROTOCOL_GUID \
  { 0x9407f684, 0x7aab, 0x47e1, { 0x84, 0xee, 0x5b, 0x6e, 0x99, 0x2b, 0x77, 0xe1 } }

#define TVQ_PLATFORM_PROTOCOL_REVISION  3

typedef struct _TVQ_PLATFORM_PROTOCOL TVQ_PLATFORM_PROTOCOL;

///
/// One value that was stored through the platform services table. The texts belong to the
/// platform and live until it is unloaded.
///
typedef struct {
  CONST CHAR16    *Namespace;
  CONST CHAR16    *Name;
  UINT64          Value;
} TVQ_STORED_VALUE;

///
/// One line of the debug log. The texts belong to the platform and live until it is unloaded.
///
typedef struct {
  UINT32          Level;
  CONST CHAR8     *FunctionName;
  CONST CHAR16    *Text;   ///< After formatting; a line feed is one "\n".
} TVQ_LOG_LINE;

/**
  Asks a named attribute. The getter of the namespace decides; a namespace that was registered
  without one answers the value that was stored last.

  @param[in]       This        The protocol.
  @param[in]       Namespace   The namespace.
  @param[in]       Name        The attribute's name.
  @param[in, out]  Value       What the getter takes and returns, or receives the stored value.

  @retval EFI_SUCCESS             Value is set.
  @retval EFI_INVALID_PARAMETER   An argument is NULL.
  @retval EFI_NOT_FOUND           The namespace was never registered, has no getter and no such
                                  value, or went with the driver that registered it.
  @retval Others                  What the getter returned.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_GET_ATTRIBUTE)(
  IN     TVQ_PLATFORM_PROTOCOL  *This,
  IN     CHAR16                 *Namespace,
  IN     CHAR16                 *Name,
  IN OUT UINT64                 *Value
  );

/**
  Changes a named attribute through the setter of its namespace.

  @param[in]  This        The protocol.
  @param[in]  Namespace   The namespace.
  @param[in]  Name        The attribute's name.
  @param[in]  Value       The new value.

  @retval EFI_SUCCESS             The setter took the value.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL.
  @retval EFI_NOT_FOUND           The namespace was never registered, or went with the driver that
                                  registered it.
  @retval EFI_UNSUPPORTED         The namespace has no setter.
  @retval Others                  What the setter returned.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_SET_ATTRIBUTE)(
  IN TVQ_PLATFORM_PROTOCOL  *This,
  IN CHAR16                 *Namespace,
  IN CHAR16                 *Name,
  IN UINT64                 Value
  );

/**
  Walks the stored values, oldest first.

  @param[in]   This    The protocol.
  @param[in]   Index   0, 1, 2, ...
  @param[out]  Value   Receives the value.

  @retval EFI_SUCCESS             Value is set.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL.
  @retval EFI_NOT_FOUND           There are not that many.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_GET_STORED_VALUE)(
  IN  TVQ_PLATFORM_PROTOCOL  *This,
  IN  UINTN                  Index,
  OUT TVQ_STORED_VALUE       *Value
  );

/**
  Walks the lines of the debug log, oldest first.

  @param[in]   This    The protocol.
  @param[in]   Index   0, 1, 2, ...
  @param[out]  Line    Receives the line.

  @retval EFI_SUCCESS             Line is set.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL.
  @retval EFI_NOT_FOUND           There are not that many.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_GET_LOG_LINE)(
  IN  TVQ_PLATFORM_PROTOCOL  *This,
  IN  UINTN                  Index,
  OUT TVQ_LOG_LINE           *Line
  );

/**
  Tells how many log lines were lost because there was no memory for them.

  @param[in]  This   The protocol.

  @return The number of lines.
**/
typedef
UINTN
(EFIAPI *TVQ_PLATFORM_COUNT_LOST_LINES)(
  IN TVQ_PLATFORM_PROTOCOL  *This
  );

/**
  Announces stored data of one device: from now on the TVQ management protocol finds the blobs in
  it. It is told no length when it is asked, so it looks into nothing else.

  @param[in]  This     The protocol.
  @param[in]  Buffer   The data: blobs one behind the other, as Get handed them out. It stays the
                       caller's and has to stay in place until it is forgotten.
  @param[in]  Length   Its size in bytes. Announcing a buffer again replaces the size.

  @retval EFI_SUCCESS             The data is known.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL, or Length is 0.
  @retval EFI_OUT_OF_RESOURCES    There is no memory to remember it.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_ANNOUNCE_STORED_DATA)(
  IN TVQ_PLATFORM_PROTOCOL  *This,
  IN CONST VOID             *Buffer,
  IN UINTN                  Length
  );

/**
  Forgets stored data that was announced. To be called before its buffer is freed.

  @param[in]  This     The protocol.
  @param[in]  Buffer   The data.

  @retval EFI_SUCCESS             The data is forgotten.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL.
  @retval EFI_NOT_FOUND           The data was not announced.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_FORGET_STORED_DATA)(
  IN TVQ_PLATFORM_PROTOCOL  *This,
  IN CONST VOID             *Buffer
  );

///
/// The table that the platform started the driver on: the firmware's, conformed. It belongs to the
/// platform and stays for the boot.
///
typedef struct {
  CONST VOID    *EntryPoint;   ///< 32-bit (SMBIOS 5.2.1).
  CONST VOID    *Structures;
  UINTN         Length;        ///< Of the structures, in bytes.
} TVQ_STARTED_TABLE;

/**
  Hands out the table that the platform started the driver on. The configuration table names the
  firmware's own again, whose labels may be others.

  Since revision 3.

  @param[in]   This    The protocol.
  @param[out]  Table   Receives the table.

  @retval EFI_SUCCESS             Table is set.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL.
  @retval EFI_NOT_FOUND           The platform has not started the driver.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_PLATFORM_GET_STARTED_TABLE)(
  IN  TVQ_PLATFORM_PROTOCOL  *This,
  OUT TVQ_STARTED_TABLE      *Table
  );

struct _TVQ_PLATFORM_PROTOCOL {
  UINT64                               Revision;   ///< TVQ_PLATFORM_PROTOCOL_REVISION.
  TVQ_PLATFORM_GET_ATTRIBUTE           GetAttribute;
  TVQ_PLATFORM_SET_ATTRIBUTE           SetAttribute;
  TVQ_PLATFORM_GET_STORED_VALUE        GetStoredValue;
  TVQ_PLATFORM_GET_LOG_LINE            GetLogLine;
  TVQ_PLATFORM_COUNT_LOST_LINES        CountLostLines;
  TVQ_PLATFORM_ANNOUNCE_STORED_DATA    AnnounceStoredData;
  TVQ_PLATFORM_FORGET_STORED_DATA      ForgetStoredData;
  // Since revision 3.
  TVQ_PLATFORM_GET_STARTED_TABLE       GetStartedTable;
};

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gTvqPlatformProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
