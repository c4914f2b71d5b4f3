#pragma once

#include "app/qt/sujets_aide.hpp"

class QPushButton;
class QWidget;

// The help at the window: any form asks for it by topic number (sujets_aide.hpp).

namespace varnion {

/// Shows a topic in the help window, which comes forward and may be used beside modal dialogs. A number
/// without a page shows the contents.
void aide(int sujet);
/// The help window with its search or index pane open.
void aide_recherche();
void aide_index();
/// Brings an open help window to the language in force.
void aide_langue();

/// The help button of a form (hint 2329), to be put among its buttons. It shows `sujet`, and so does F1
/// anywhere in the form from then on.
[[nodiscard]] QPushButton *bouton_aide(QWidget *forme, int sujet);
/// Gives F1 a topic in a form without a help button.
void pose_sujet(QWidget *forme, int sujet);

/// The topic of the window that holds `objet`: the one posed, else the one of its name in the table, else
/// that of the window it belongs to; the contents when none has one.
[[nodiscard]] int sujet_de(const QWidget *objet);

/// From here on F1 shows the topic of the window at hand. Once is enough; `aide` and `bouton_aide` see to it.
void branche_aide();

}  // namespace varnion
