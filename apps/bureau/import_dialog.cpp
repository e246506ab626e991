#include "import_dialog.h"

#include "data/util_object.h"
#include "platform/text.h"
#include "window/qt_text.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>

#include <array>
#include <optional>

namespace corvalissement {

namespace {

QString amount(const std::string& hundredths) {
    const qlonglong value = QString::fromStdString(hundredths).toLongLong();
    return QLocale(QLocale::French).toString(static_cast<double>(value) / 100.0, 'f', 2);
}

std::optional<std::int64_t> day_in(const QLineEdit& bound) {
    const std::string internal = internal_date(field_text(bound.text()));
    if (internal.empty()) return std::nullopt;
    return day_number(internal);
}

QString count(std::uint64_t number) {
    return QLocale(QLocale::French).toString(static_cast<qulonglong>(number));
}

constexpr std::array<const char*, 3> YEARS{"N - 1", "N", "N + 1"}; // by Exercice

QString told_year(std::size_t number, std::int64_t first_day, std::int64_t last_day) {
    return QObject::tr("Exercice %1 du %2 au %3")
        .arg(QLatin1String(YEARS[number]), shown_text(date_text(first_day)), shown_text(date_text(last_day)));
}

QString told_sums(const LineSums& sums) {
    return QObject::tr("%1 écritures, débit %2, crédit %3")
        .arg(count(sums.lines), amount(std::to_string(sums.debit)), amount(std::to_string(sums.credit)));
}

// Which entity it is, its years and its totals.
QString told_entity(const QString& code, const EntityFacts& facts) {
    QString text = QObject::tr("L'entité %1 existe : %2").arg(code, shown_text(facts.name));
    for (const std::string& company : facts.companies)
        text += QObject::tr(", entreprise %1").arg(shown_text(company));
    for (std::size_t i = 0; i < facts.totals.size(); ++i) {
        if (facts.totals[i].lines == 0 && (i != 1 || !facts.years)) continue;
        const auto [first, last] = facts.years ? facts.years->bounds_of(static_cast<Exercice>(i))
                                               : std::pair<std::int64_t, std::int64_t>();
        text += QLatin1Char('\n') +
                (facts.years ? told_year(i, first, last)
                             : QObject::tr("Exercice %1").arg(QLatin1String(YEARS[i]))) +
                QObject::tr(" : ") + told_sums(facts.totals[i]);
    }
    if (facts.draft_lines > 0) text += QObject::tr("\nBrouillards : %1 lignes").arg(count(facts.draft_lines));
    return text;
}

} // namespace

ImportDialog::ImportDialog(const QStringList& files, Store& store, QWidget* parent)
    : QDialog(parent), files_(files), store_(store) {
    setObjectName(QStringLiteral("Importation"));
    setWindowTitle(tr("Importer un fichier des écritures comptables"));
    const QString free_code = shown_text(first_free_entity(store_));
    entity_ = new QLineEdit(free_code);
    entity_->setObjectName(QStringLiteral("Entite"));
    entity_->setMaxLength(3);
    facts_ = new QLabel;
    facts_->setObjectName(QStringLiteral("Existante"));
    facts_->setTextFormat(Qt::PlainText);
    facts_->setWordWrap(true);
    add_ = new QCheckBox(tr("A&jouter ces fichiers à cette entité"));
    add_->setObjectName(QStringLiteral("Ajouter"));
    fresh_ = new QPushButton(tr("Nou&velle entité %1").arg(free_code));
    fresh_->setObjectName(QStringLiteral("Nouvelle"));
    fresh_->setAutoDefault(false);
    name_ = new QLineEdit(QFileInfo(files_.value(0)).completeBaseName());
    name_->setObjectName(QStringLiteral("Nom"));
    name_->setMinimumWidth(fontMetrics().averageCharWidth() * 45);
    street_ = new QLineEdit;
    street_2_ = new QLineEdit;
    town_ = new QLineEdit;
    first_ = new QLineEdit;
    first_->setObjectName(QStringLiteral("Debut"));
    last_ = new QLineEdit;
    last_->setObjectName(QStringLiteral("Fin"));
    for (QLineEdit* bound : {first_, last_})
        bound->setPlaceholderText(tr("jj/mm/aaaa, ou rien"));
    drafts_ = new QCheckBox(tr("Les lignes sans date de validation sont des &brouillards"));
    auxiliaries_ = new QCheckBox(tr("Un compte pour chaque &tiers (clients et fournisseurs)"));
    outside_ = new QCheckBox(tr("Laisser de côté les lignes &hors des trois exercices"));
    fault_ = new QLabel;
    fault_->setTextFormat(Qt::PlainText);
    fault_->setWordWrap(true);

    auto* files_label = new QLabel;
    files_label->setTextFormat(Qt::PlainText);
    QStringList names;
    for (const QString& file : files_)
        names << QFileInfo(file).fileName();
    files_label->setText(names.join(QLatin1Char('\n')));

    auto* form = new QFormLayout(this);
    form->addRow(tr("Fichiers :"), files_label);
    form->addRow(tr("&Entité juridique (3 caractères) :"), entity_);
    form->addRow(facts_);
    form->addRow(add_, fresh_);
    form->addRow(tr("&Nom de l'entité :"), name_);
    form->addRow(tr("&Adresse :"), street_);
    form->addRow(tr("Adresse (&suite) :"), street_2_);
    form->addRow(tr("&Code postal et ville :"), town_);
    form->addRow(tr("&Début de l'exercice N :"), first_);
    form->addRow(tr("&Fin de l'exercice N :"), last_);
    form->addRow(drafts_);
    form->addRow(auxiliaries_);
    form->addRow(outside_);
    form->addRow(fault_);
    auto* buttons = new QDialogButtonBox;
    accept_ = buttons->addButton(tr("&Importer"), QDialogButtonBox::AcceptRole);
    buttons->addButton(tr("Annu&ler"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    connect(entity_, &QLineEdit::textChanged, this, [this] { look_up_entity(); });
    connect(name_, &QLineEdit::textEdited, this, [this] { name_typed_ = true; });
    connect(fresh_, &QPushButton::clicked, this, [this, free_code] {
        entity_->setText(free_code);
        entity_->setFocus();
    });
    connect(add_, &QCheckBox::toggled, this, [this] { check(); });
    for (const QLineEdit* field : {entity_, name_, street_, street_2_, town_, first_, last_})
        connect(field, &QLineEdit::textChanged, this, [this] { check(); });
    look_up_entity();
    check();
    entity_->setFocus();
    entity_->selectAll();
}

// An entity that is there keeps its name unless the user types another.
void ImportDialog::look_up_entity() {
    const std::string code = field_text(entity_->text());
    standing_ = char_count(code) == 3 ? entity_facts(store_, code) : std::nullopt;
    add_->setChecked(false);
    for (QWidget* widget :
         {static_cast<QWidget*>(facts_), static_cast<QWidget*>(add_), static_cast<QWidget*>(fresh_)})
        widget->setVisible(standing_.has_value());
    facts_->setText(standing_ ? told_entity(entity_->text(), *standing_) : QString());
    if (name_typed_) return;
    name_->setText(standing_ && !standing_->name.empty() ? shown_text(standing_->name)
                                                         : QFileInfo(files_.value(0)).completeBaseName());
}

FecOptions ImportDialog::options() const {
    FecOptions options;
    for (const QString& file : files_)
        options.paths.push_back(field_text(file));
    options.entity = field_text(entity_->text());
    options.name = field_text(name_->text());
    if (!street_->text().isEmpty() || !street_2_->text().isEmpty() || !town_->text().isEmpty())
        options.address = field_text(street_->text() + QLatin1Char('|') + street_2_->text() +
                                     QLatin1Char('|') + town_->text());
    options.first_day = day_in(*first_);
    options.last_day = day_in(*last_);
    options.drafts = drafts_->isChecked();
    options.auxiliaries = auxiliaries_->isChecked();
    options.outside_bounds = outside_->isChecked();
    return options;
}

// Both bounds or none, as everywhere.
std::string ImportDialog::fault() const {
    for (const QLineEdit* bound : {first_, last_})
        if (!bound->text().isEmpty() && !day_in(*bound))
            return "« " + field_text(bound->text()) + " » n'est pas une date de la forme jj/mm/aaaa";
    if (first_->text().isEmpty() != last_->text().isEmpty())
        return "le début et la fin de l'exercice vont ensemble";
    if (standing_ && !add_->isChecked())
        return "l'entité " + field_text(entity_->text()) +
               " existe : dites que ces fichiers lui appartiennent, ou donnez un autre code";
    return fault_of_options(options());
}

void ImportDialog::check() {
    const std::string fault = this->fault();
    fault_->setText(shown_text(fault));
    fault_->setVisible(!fault.empty());
    accept_->setEnabled(fault.empty());
    make_room();
}

// A label of several lines that comes while the dialog is shown doesn't widen it by itself.
void ImportDialog::make_room() {
    layout()->activate();
    const int needed = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width())
                                                     : layout()->totalSizeHint().height();
    if (isVisible() && height() < needed) resize(width(), needed);
}

QString told_summary(const FecSummary& summary) {
    QString text =
        QObject::tr("%1 lignes lues, %2 écritures, %3 comptes, %4 journaux.\nDébit : %5    Crédit : %6")
            .arg(count(summary.lines), count(summary.entries), count(summary.accounts),
                 count(summary.journals), amount(summary.debit), amount(summary.credit));
    if (summary.drafts > 0) text += QObject::tr("\n%1 séquences de brouillard.").arg(count(summary.drafts));
    if (summary.outside_bounds > 0)
        text += QObject::tr("\n%1 lignes hors des trois exercices laissées de côté.")
                    .arg(count(summary.outside_bounds));
    for (std::size_t i = 0; i < summary.years.size(); ++i) {
        const FecYear& year = summary.years[i];
        if (year.source.empty() || (i != 1 && year.taken.lines == 0)) continue;
        text += QLatin1Char('\n') + told_year(i, year.first_day, year.last_day) +
                QObject::tr(" (source : %1) : ").arg(shown_text(year.source)) + told_sums(year.taken);
    }
    if (!summary.remarks.empty()) text += QObject::tr("\n%1 remarques.").arg(count(summary.remarks.size()));
    return text;
}

} // namespace corvalissement
