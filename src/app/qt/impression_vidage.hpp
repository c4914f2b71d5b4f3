#pragma once

#include <QString>
#include <QStringList>

#include "inspect/lignes.hpp"
#include "inspect/segment.hpp"

class QPagedPaintDevice;
class QWidget;

// Dump lines on paper: portrait, a fixed font of 12 points, the title at the head of each page.

namespace varnion {

/// Pages drawn; 0 when the device cannot be painted on.
int dessine_lignes(QPagedPaintDevice &appareil, const QString &titre, const QStringList &lignes);
/// Asks for the printer and prints.
void imprime_lignes(QWidget *parent, const QString &titre, const QStringList &lignes);
/// The lines of a segment to the printer.
void imprime_segment(QWidget *parent, const QString &titre, const SourceSecteurs &source,
                     const Segment &segment, const AspectVidage &aspect);

}  // namespace varnion
