#include "app/qt/pages_aide.hpp"

#include <algorithm>
#include <utility>

#include <QCollator>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTextDocumentFragment>

#include "res/chaines.hpp"

// The macro must stand outside of every namespace.
static void charge_pages() {
  Q_INIT_RESOURCE(aide);
}

namespace varnion {

namespace {

constexpr const char *kAccueil = "accueil.html";
constexpr qsizetype kAvantMot = 40;
constexpr qsizetype kLongueurExtrait = 120;
// A word in the title or among the keywords against one in the text.
constexpr qsizetype kPoidsTitre = 100;
constexpr qsizetype kPoidsCle = 20;

QString sans_marques(const QString &html) {
  return QTextDocumentFragment::fromHtml(html).toPlainText().simplified();
}

// Lower case without accents; as long as the text it comes from, so that places stay what they are.
QString replie(const QString &texte) {
  QString sortie;
  sortie.reserve(texte.size());
  for (const QChar c : texte) {
    const QString parties = c.decompositionTag() == QChar::Canonical ? c.decomposition() : QString(c);
    sortie += parties.at(0).toLower();
  }
  return sortie;
}

QString premier(const QString &html, const char *motif) {
  return QRegularExpression(motif, QRegularExpression::DotMatchesEverythingOption).match(html).captured(1);
}

PageAide lit_page(const QString &nom, const QString &html) {
  PageAide page;
  page.nom = nom;
  page.titre = sans_marques(premier(html, "<title>(.*?)</title>"));
  const QString cles = sans_marques(premier(html, "<meta name=\"keywords\" content=\"([^\"]*)\""));
  for (const QString &cle : cles.split(',', Qt::SkipEmptyParts)) page.mots_cles << cle.trimmed();
  static const QRegularExpression titre("<h([1-3])(?: id=\"(?:t(\\d+))?[^\"]*\")?>(.*?)</h\\1>",
                                        QRegularExpression::DotMatchesEverythingOption);
  for (auto i = titre.globalMatch(html); i.hasNext();) {
    const QRegularExpressionMatch trouve = i.next();
    page.titres.push_back({trouve.captured(2).toInt(), sans_marques(trouve.captured(3))});
  }
  page.texte = sans_marques(premier(html, "<body>(.*)</body>"));
  return page;
}

QString extrait(const QString &texte, qsizetype place) {
  qsizetype debut = std::max<qsizetype>(0, place - kAvantMot);
  if (debut > 0) debut = texte.indexOf(' ', debut) + 1;
  QString morceau = texte.mid(debut, kLongueurExtrait);
  if (debut > 0) morceau.prepend(u"\u2026 ");
  if (debut + kLongueurExtrait < texte.size()) {
    morceau.truncate(morceau.lastIndexOf(' '));
    morceau += u" \u2026";
  }
  return morceau;
}

bool est_titre(const PageAide &page, const QString &texte) {
  return std::any_of(page.titres.begin(), page.titres.end(), [&](const TitreAide &titre) {
    return titre.sujet != 0 && titre.texte.compare(texte, Qt::CaseInsensitive) == 0;
  });
}

}  // namespace

const PagesAide &PagesAide::de_langue(int base) {
  static const PagesAide anglais(":/aide/en/");
  static const PagesAide francais(":/aide/fr/");
  return base == kLangueFrancais ? francais : anglais;
}

PagesAide::PagesAide(const QString &dossier) : dossier_(dossier) {
  charge_pages();
  const QDir liste(dossier);
  for (const QString &nom : liste.entryList({"*.html"}, QDir::Files, QDir::Name)) {
    QFile fichier(liste.filePath(nom));
    if (!fichier.open(QIODevice::ReadOnly)) continue;
    const QString html = QString::fromUtf8(fichier.readAll());
    pages_.push_back(lit_page(nom, html));
    repliees_.push_back(replie(pages_.back().texte));
    if (nom == kAccueil) construit_sommaire(html);
  }
  construit_index();
}

const PageAide *PagesAide::page(const QString &nom) const {
  const auto trouvee =
      std::find_if(pages_.begin(), pages_.end(), [&](const PageAide &p) { return p.nom == nom; });
  return trouvee == pages_.end() ? nullptr : &*trouvee;
}

std::optional<QString> PagesAide::adresse(int sujet) const {
  for (const PageAide &page : pages_) {
    for (std::size_t i = 0; i < page.titres.size(); ++i) {
      if (page.titres[i].sujet != sujet) continue;
      return i == 0 ? page.nom : page.nom + QString("#t%1").arg(sujet);
    }
  }
  return std::nullopt;
}

void PagesAide::construit_sommaire(const QString &html) {
  static const QRegularExpression rang("<h2>(.*?)</h2>|<li><a href=\"([^\"]*)\">(.*?)</a>",
                                       QRegularExpression::DotMatchesEverythingOption);
  for (auto i = rang.globalMatch(html); i.hasNext();) {
    const QRegularExpressionMatch trouve = i.next();
    const bool tete = trouve.captured(2).isEmpty();
    sommaire_.push_back({sans_marques(trouve.captured(tete ? 1 : 3)), trouve.captured(2), {}});
  }
}

// Keywords, and the headings that are topics. A keyword of several pages has a row for each, with its title.
void PagesAide::construit_index() {
  for (const PageAide &page : pages_) {
    for (const QString &cle : page.mots_cles)
      if (!est_titre(page, cle)) index_.push_back({cle, page.nom, page.titre});
    for (std::size_t i = 0; i < page.titres.size(); ++i) {
      const TitreAide &titre = page.titres[i];
      const QString ancre = i == 0 ? QString() : QString("#t%1").arg(titre.sujet);
      if (titre.sujet != 0) index_.push_back({titre.texte, page.nom + ancre, page.titre});
    }
  }
  QCollator ordre;
  ordre.setCaseSensitivity(Qt::CaseInsensitive);
  std::stable_sort(index_.begin(), index_.end(), [&](const RenvoiAide &a, const RenvoiAide &b) {
    return ordre.compare(a.texte, b.texte) < 0;
  });
  for (std::size_t i = 0; i + 1 < index_.size(); ++i) {
    const QString texte = index_[i].texte;
    std::size_t fin = i + 1;
    while (fin < index_.size() && index_[fin].texte.compare(texte, Qt::CaseInsensitive) == 0) ++fin;
    if (fin == i + 1) continue;
    for (; i < fin; ++i) index_[i].texte += " (" + index_[i].extrait + ")";
    --i;
  }
}

std::vector<RenvoiAide> PagesAide::cherche(const QString &mots) const {
  const QStringList voulus = replie(mots).split(QRegularExpression("\\s+"), Qt::SkipEmptyParts);
  std::vector<std::pair<qsizetype, RenvoiAide>> trouves;
  if (voulus.isEmpty()) return {};
  for (std::size_t i = 0; i < pages_.size(); ++i) {
    const QString titre = replie(pages_[i].titre);
    const QString cles = replie(pages_[i].mots_cles.join(' '));
    qsizetype poids = 0;
    const bool tous = std::all_of(voulus.begin(), voulus.end(), [&](const QString &mot) {
      const qsizetype fois =
          repliees_[i].count(mot) + kPoidsTitre * titre.count(mot) + kPoidsCle * cles.count(mot);
      poids += fois;
      return fois > 0;
    });
    if (!tous) continue;
    const qsizetype place = std::max<qsizetype>(0, repliees_[i].indexOf(voulus.first()));
    trouves.push_back({poids, {pages_[i].titre, pages_[i].nom, extrait(pages_[i].texte, place)}});
  }
  std::stable_sort(trouves.begin(), trouves.end(),
                   [](const auto &a, const auto &b) { return a.first > b.first; });
  std::vector<RenvoiAide> sortie;
  for (auto &[poids, renvoi] : trouves) sortie.push_back(std::move(renvoi));
  return sortie;
}

}  // namespace varnion
