#pragma once
// SPDX-License-Identifier: Apache-2.0
// Enumerations and small types of the node-map interface (GenICam GenApi). The numbers are part of
// the published interface. Plain values: no ownership, any thread.
#include <Base/GCBase.h>
#include <GenApi/GenApiDll.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

// Whether an integer register holds negative numbers.
typedef enum _ESign { Signed, Unsigned, _UndefinedSign } ESign;

// What can be done with a node at the moment.
typedef enum _EAccessMode {
  NI,  // not implemented by this device, for ever
  NA,  // not available at the moment
  WO,  // write only
  RO,  // read only
  RW,  // read and write
  _UndefinedAccesMode,
  _CycleDetectAccesMode
} EAccessMode;

// For whom a feature is meant.
typedef enum _EVisibility {
  Beginner = 0,
  Expert = 1,
  Guru = 2,
  Invisible = 3,
  _UndefinedVisibility = 99
} EVisibility;

// What happens to a register's cache when the register is written.
typedef enum _ECachingMode {
  NoCache,
  WriteThrough,  // the value written is the cached value
  WriteAround,   // the cache is dropped, the next read asks the device
  _UndefinedCachingMode
} ECachingMode;

// How a number wants to be shown.
typedef enum _ERepresentation {
  Linear,
  Logarithmic,
  Boolean,
  PureNumber,
  HexNumber,
  IPV4Address,
  MACAddress,
  _UndefinedRepresentation
} ERepresentation;
#define _UndefindedRepresentation _UndefinedRepresentation

typedef enum _EEndianess { BigEndian, LittleEndian, _UndefinedEndian } EEndianess;

typedef enum _ENameSpace { Custom, Standard, _UndefinedNameSpace } ENameSpace;

typedef enum _EStandardNameSpace {
  None,
  GEV,
  IIDC,
  CL,
  USB,
  _UndefinedStandardNameSpace
} EStandardNameSpace;

typedef enum _EYesNo { Yes = 1, No = 0, _UndefinedYesNo = 2 } EYesNo;

// Slope of a converter's formula; decides how its range follows from the raw range.
typedef enum _ESlope { Increasing, Decreasing, Varying, Automatic, _UndefinedESlope } ESlope;

typedef enum _EXMLValidation {
  xvLoad = 0x00000001,
  xvCycles = 0x00000002,
  xvSFNC = 0x00000004,
  xvDefault = 0x00000000,
  xvAll = static_cast<int>(0xffffffffu),
  _UndefinedEXMLValidation = 0x8000000
} EXMLValidation;

typedef enum _EDisplayNotation {
  fnAutomatic,
  fnFixed,
  fnScientific,
  _UndefinedEDisplayNotation
} EDisplayNotation;

// The interface that says most about a node.
typedef enum _EInterfaceType {
  intfIValue,
  intfIBase,
  intfIInteger,
  intfIBoolean,
  intfICommand,
  intfIFloat,
  intfIString,
  intfIRegister,
  intfICategory,
  intfIEnumeration,
  intfIEnumEntry,
  intfIPort
} EInterfaceType;

// Which neighbours of a node INode::GetChildren lists.
typedef enum _ELinkType {
  ctParentNodes,           // nodes that name this one
  ctReadingChildren,       // nodes read when this one is read
  ctWritingChildren,       // nodes written when this one is written
  ctInvalidatingChildren,  // nodes whose change drops this one's cache
  ctDependingNodes,        // nodes that change with this one, direct and indirect
  ctTerminalNodes,         // registers at the end of the writing chain
  ctValueChangingChildren  // nodes that can change this one's value
} ELinkType;

typedef enum _EIncMode { noIncrement, fixedIncrement, listIncrement } EIncMode;

typedef enum _EInputDirection {
  idFrom,  // converter input, from the register to the user
  idTo,    // converter input, from the user to the register
  idNone
} EInputDirection;

typedef enum _EGenApiSchemaVersion { v1_0 = 1, v1_1 = 2, _Undefined = -1 } EGenApiSchemaVersion;

typedef enum _ECallbackSuppressMode { csmOff, csmActive, csmOnce } ECallbackSuppressMode;

// Opaque pointer that an application hangs on a node or a node map.
typedef void* UserData_t;

using GENICAM_NAMESPACE::Version_t;

}  // namespace GENAPI_NAMESPACE
