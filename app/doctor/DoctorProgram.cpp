#include "app/doctor/DoctorProgram.h"

#include "app/doctor/DesktopChecks.h"
#include "app/doctor/Doctor.h"
#include "app/doctor/FileChecks.h"
#include "app/doctor/FirewallCheck.h"
#include "app/doctor/NetworkChecks.h"
#include "app/doctor/PortCheck.h"
#include "app/doctor/PortalCheck.h"
#include "app/doctor/SessionCheck.h"
#include "app/platform/PortHelper.h"
#include "app/startup/Configuration.h"
#include "core/support/Log.h"
#include "core/support/Version.h"

#include <iostream>

namespace tarvinel {

namespace {

TarvinelConfig settingsOf(const CommandLineOptions& options) {
  return Configuration::load(options, Log::silent()).config;
}

Findings screenFindings(const CommandLineOptions& options, const CaptureEnvironment& environment) {
  const auto screen = ScreenProbe::of(options.capture, environment);
  auto findings = judge(screen);
  if (screen.decision.backend != CaptureBackend::portal) return findings;
  for (Finding& finding : judge(PortalProbe::current()))
    findings.push_back(std::move(finding));
  return findings;
}

}  // namespace

int runDoctor(const CommandLineOptions& options, bool hasTray) {
  DoctorReport report(std::cout, DoctorReport::Style::forStandardOutput());
  std::cout << "Tarvinel " << appVersion << " looks at this computer. Nothing is changed.\n\n"
            << std::flush;
  Doctor(allChecks(options, hasTray)).run(report);
  return report.needsAttention() ? 1 : 0;
}

std::vector<Check> allChecks(const CommandLineOptions& options, bool hasTray) {
  const auto session = SessionProbe::current();
  const auto& environment = session.environment;
  return {
      {"Session", [=] { return judge(session); }},
      {"Screen", [=] { return screenFindings(options, environment); }},
      {"Tray", [=] { return hasTray ? judge(TrayProbe::of(session)) : withoutTray(); }},
      {"Configuration", [=] { return judge(ConfigurationProbe::of(options)); }},
      {"Address",
       [=] {
         const auto settings = settingsOf(options);
         return judge(AddressProbe::of(settings.port, settings.hostname, options.sysfs));
       }},
      {"Name", [=] { return judge(NameProbe::of(settingsOf(options).hostname, options.sysfs)); }},
      {"Port",
       [=] {
         return judge(PortProbe::of(settingsOf(options).port, PortHelper::ofThisProgram().place()));
       }},
      {"Firewall",
       [=] {
         return judge(FirewallProbe::of(settingsOf(options), options.systemRoot, options.sysfs));
       }},
      {"Uploads", [=] { return judge(UploadProbe::of(options)); }, hangingDisk()},
  };
}

}  // namespace tarvinel
