#pragma once
// SPDX-License-Identifier: Apache-2.0
// Forward declarations of the GenICam C++ interface for headers that only pass pointers and
// references.

#include <Base/GCNamespace.h>
#include <GenApi/GenApiNamespace.h>

#ifndef GENICAM_INTERFACE
#define GENICAM_INTERFACE struct
#endif

namespace GENICAM_NAMESPACE {
class gcstring;
class gcstring_vector;
class GenericException;
}  // namespace GENICAM_NAMESPACE

namespace GENAPI_NAMESPACE {
GENICAM_INTERFACE IBase;
GENICAM_INTERFACE INode;
GENICAM_INTERFACE IValue;
GENICAM_INTERFACE ICategory;
GENICAM_INTERFACE IInteger;
GENICAM_INTERFACE IFloat;
GENICAM_INTERFACE IBoolean;
GENICAM_INTERFACE ICommand;
GENICAM_INTERFACE IString;
GENICAM_INTERFACE IRegister;
GENICAM_INTERFACE IEnumeration;
GENICAM_INTERFACE IEnumEntry;
GENICAM_INTERFACE ISelector;
GENICAM_INTERFACE ISelectorDigit;
GENICAM_INTERFACE IPort;
GENICAM_INTERFACE IPortStacked;
GENICAM_INTERFACE IPortConstruct;
GENICAM_INTERFACE IPortStackedConstruct;
GENICAM_INTERFACE IPortWriteList;
GENICAM_INTERFACE IPortReplay;
GENICAM_INTERFACE IPortRecorder;
GENICAM_INTERFACE IChunkPort;
GENICAM_INTERFACE INodeMap;
GENICAM_INTERFACE INodeMapDyn;
GENICAM_INTERFACE IDeviceInfo;
GENICAM_INTERFACE IUserData;
GENICAM_INTERFACE IDestroy;
GENICAM_INTERFACE IReference;
GENICAM_INTERFACE IEnumReference;
class CNodeCallback;
class CNodeMapFactory;
class CNodeMapRef;
class CNodeWriteConcatenator;
class CFeatureBag;
class CFeatureBagger;
class CSelectorSet;
class CSelectorState;
class node_vector;
class value_vector;
}  // namespace GENAPI_NAMESPACE
