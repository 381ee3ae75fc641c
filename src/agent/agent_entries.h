#pragma once

#include "library/entry_table.h"
#include "vendor/zub.h"

namespace NorvoWebAPI::KSV {

/// The agent library's entry points, bound at run time.
struct AgentEntries : EntryTable {
  KSV_ENTRY(Init, ZUB_Init);
  KSV_ENTRY(DeInit, ZUB_DeInit);
  KSV_ENTRY(StartProvisioning, ZUB_StartProvisioning);
  KSV_ENTRY(StartProvisioning3, ZUB3_StartProvisioning);
  KSV_ENTRY(EndProvisioning, ZUB_EndProvisioning);
  KSV_ENTRY(SendData, ZUB_SendData);
  KSV_ENTRY(ReceiveData, ZUB_ReceiveData);
  KSV_ENTRY(ProcessSVPMessage, ZUB_ProcessSVPMessage);
  KSV_ENTRY(GetSVPMessage, ZUB_GetSVPMessage);
  KSV_ENTRY(SendAndReceiveData, ZUB_SendAndReceiveData);
  KSV_ENTRY(SendAndReceiveData3, ZUB3_SendAndReceiveData);
  KSV_ENTRY(GetCapabilities, ZUB_GetCapabilities);
  KSV_ENTRY(GetVersion, ZUB_GetVersion);
  KSV_ENTRY(Install, ZUB_Install);
  KSV_ENTRY(Uninstall, ZUB_Uninstall);
  KSV_ENTRY(DoFWUpdate, ZUB_DoFWUpdate);
  KSV_ENTRY(GetOTP, ZUB_GetOTP);
  KSV_ENTRY(GetOTP3, ZUB3_GetOTP);
  KSV_ENTRY(RegisterEventCb, ZUB_RegisterEventCb);
  KSV_ENTRY(UnregisterEventCb, ZUB_UnregisterEventCb);
  KSV_ENTRY(StartInstance3, ZUB3_StartInstance);
  KSV_ENTRY(StopInstance3, ZUB3_StopInstance);
  KSV_ENTRY(GetOTPSStatus, ZUB_GetOTPSStatus);
  KSV_ENTRY(GetOTPCapabilities, ZUB_GetOTPCapabilities);
  KSV_ENTRY(InstallOTPS, ZUB_InstallOTPS);
  KSV_ENTRY(UninstallOTPS, ZUB_UninstallOTPS);
  KSV_ENTRY(SendData3, ZUB3_SendData);
  KSV_ENTRY(ReceiveData3, ZUB3_ReceiveData);
  KSV_ENTRY(EndProvisioning3, ZUB3_EndProvisioning);
};

}  // namespace NorvoWebAPI::KSV
