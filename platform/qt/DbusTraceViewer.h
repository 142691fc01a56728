// The trace channel on the D-Bus session bus. A viewer is a peer that owns a well-known
// bus name and answers a property with 1 on its object "/"; each trace line is one call of
// its method CopyData with the line's bytes.
#pragma once

#include <memory>

#include "core/Trace.h"

namespace quorvane {

// How the viewer is known on the bus; the viewer program exports exactly these.
inline constexpr char kTraceViewerBusName[] = "QuorvaneDebugWindow._TRACEWIN";
inline constexpr char kTraceViewerObjectPath[] = "/";
inline constexpr char kTraceViewerInterface[] = "QuorvaneDebugWindow.TraceViewer";
inline constexpr char kTraceViewerProperty[] = "QuorvaneDebugWindow_TRACEWIN";
inline constexpr char kTraceViewerMethod[] = "CopyData";

// The longest a viewer may take to answer the search or to take one line.
inline constexpr int kTraceViewerTimeoutMs = 5000;

// The search front ends install with SetTraceViewerSearch. Returns nullptr when there is
// no session bus, no owner of the name, or an owner that does not answer the property
// with 1 in time; it never reports anything. Works in a process without a
// QCoreApplication (the batch tool has none).
std::unique_ptr<TraceViewer> FindDbusTraceViewer();

}  // namespace quorvane
