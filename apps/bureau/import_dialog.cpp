#include "import_dialog.h"

#include "data/util_object.h"
#include "window/qt_text.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>

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

} // namespace

ImportDialog::ImportDialog(const QStringList& files, QWidget* parent) : QDialog(parent), files_(files) {
    setObjectName(QStringLiteral("Importation"));
    setWindowTitle(tr("Importer un fichier des écritures comptables"));
    entity_ = new QLineEdit(QStringLiteral("001"));
    entity_->setObjectName(QStringLiteral("Entite"));
    entity_->setMaxLength(3);
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
    for (const QLineEdit* field : {entity_, name_, street_, street_2_, town_, first_, last_})
        connect(field, &QLineEdit::textChanged, this, [this] { check(); });
    check();
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
    return fault_of_options(options());
}

void ImportDialog::check() {
    const std::string fault = this->fault();
    fault_->setText(shown_text(fault));
    fault_->setVisible(!fault.empty());
    accept_->setEnabled(fault.empty());
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
        text += QObject::tr("\nExercice %1 du %2 au %3 (source : %4) : %5 lignes, débit %6, crédit %7")
                    .arg(QStringList{QStringLiteral("N - 1"), QStringLiteral("N"),
                                     QStringLiteral("N + 1")}[static_cast<int>(i)],
                         shown_text(date_text(year.first_day)), shown_text(date_text(year.last_day)),
                         shown_text(year.source), count(year.taken.lines),
                         amount(std::to_string(year.taken.debit)), amount(std::to_string(year.taken.credit)));
    }
    if (!summary.remarks.empty()) text += QObject::tr("\n%1 remarques.").arg(count(summary.remarks.size()));
    return text;
}

} // namespace corvalissement
