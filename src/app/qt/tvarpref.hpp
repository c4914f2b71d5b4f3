#pragma once

class QWidget;

namespace varnion {

/// How the preferences were left.
enum class IssuePreferences : int {
  relecture = -2,  ///< taken; what is hidden in lists changed
  prises = -1,
  refusees = 0,
};

/// Shows `TVarPref` over the settings in force and stores what was chosen.
[[nodiscard]] IssuePreferences montre_preferences(QWidget *parent);

}  // namespace varnion
