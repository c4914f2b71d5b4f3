#pragma once

#include <functional>

class QWidget;

namespace varnion {

class TVarnion;

/// Long work of a form that is shown: on a worker, with the form disabled meanwhile, so that Esc asks for the
/// stop and nothing else reaches it.
void travaille(TVarnion &fenetre, QWidget &forme, const std::function<void()> &travail);

}  // namespace varnion
