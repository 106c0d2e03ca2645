#include "app/doctor/Doctor.h"

#include "app/doctor/CheckProcess.h"

#include <list>

namespace tarvinel {

void Doctor::run(DoctorReport& report) const {
  const auto deadline = CheckProcess::Clock::now() + patience_;
  std::list<CheckProcess> processes;
  for (const Check& check : checks_)
    processes.emplace_back(check.run);
  for (const Check& check : checks_) {
    const auto findings = processes.front().await(deadline).value_or(Findings{check.late});
    for (const Finding& finding : findings)
      report.add(check.topic, finding);
    processes.pop_front();
  }
  report.finish();
}

}  // namespace tarvinel
