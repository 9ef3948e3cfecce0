#pragma once

namespace CfgAgent {

// Span tag names shared by every conversion that opens a workflow span.
namespace SpanTag {
inline constexpr const char* kLsId = "LS-ID";
inline constexpr const char* kLspId = "LSP-ID";
inline constexpr const char* kLrId = "LR-ID";
inline constexpr const char* kLrpId = "LRP-ID";
inline constexpr const char* kOperation = "operation";  // "SET" or "DELETE"
inline constexpr const char* kVif = "VIF";
inline constexpr const char* kTnId = "TN-ID";
inline constexpr const char* kTzId = "TZ-ID";
inline constexpr const char* kHsId = "HS-ID";
inline constexpr const char* kVni = "VNI";
inline constexpr const char* kVlan = "VLAN";
inline constexpr const char* kWorkflow = "workflow";
inline constexpr const char* kError = "error";
inline constexpr const char* kErrorMsg = "error-msg";
inline constexpr const char* kException = "exception";
}  // namespace SpanTag

// The two addresses that stand for a logical switch's replication mode.
inline constexpr const char* kReplicationMulticastAddress[] = {"0.0.0.1", "0.0.0.2"};
inline constexpr const char* kFirewallFilterName = "1:halden-sfw:failClosed";
inline constexpr const char* kServiceInsertionFilterName = "12:halden-si:failOpen";
inline constexpr const char* kPortMirrorSessionsKey = "com.halden.vswitch.port.mirrorSessions";
inline constexpr const char* kPortVlanKey = "com.halden.vswitch.port.vlan";

}  // namespace CfgAgent
