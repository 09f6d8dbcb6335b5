// A visibility plan as text: the summary for people, and its lists as rows.
#pragma once

#include <string>
#include <string_view>

#include "host/plan/VisibilityPlan.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"

namespace Host {

// What of a plan is written as rows.
enum class PlanRows { Steps, Passes, Windows };

// "steps", "passes" or "windows"; false for anything else.
[[nodiscard]] bool ParsePlanRows(std::string_view text, PlanRows& rows);

// Best and worst figures, windows of bad geometry, rises and sets, gaps.
void WritePlanSummary(const VisibilityPlan& plan, const std::string& place, Sink& sink);
void WritePlanRows(const VisibilityPlan& plan, PlanRows rows, Form form, Sink& sink);

}  // namespace Host
