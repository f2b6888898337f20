// The states a node can be in besides holding content, as tables and fuzz inputs write them where
// the content would go. Each is made by the sandbox's edit of the same name (tevhost/Sandbox.h),
// the one way tests and tools put a node into a state.
#pragma once

namespace tevhost {

constexpr const char* kAbsent = "<absent>";  // removeNode
constexpr const char* kDenied = "<denied>";  // there (empty), its opens refused: denyNode
constexpr const char* kFolder = "<folder>";  // opens, every read fails: makeFolder
constexpr const char* kFull = "<full>";      // there (empty), every write refused: makeFull
constexpr const char* kStuck = "<stuck>";    // there (empty), every write takes 0 bytes: makeStuck

}  // namespace tevhost
