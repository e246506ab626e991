// What a made-up chart of accounts is built from.
#pragma once

#include <string_view>

namespace corvalissement::made_up {

struct NamedAccount {
    std::string_view number; // as an accountant writes it, completed with "0" to 10 characters
    std::string_view label;
};

// The first seven are what no entry can do without; a smaller chart stops somewhere behind them.
inline constexpr NamedAccount CHART[] = {
    {"512", "Banque"},
    {"607", "Achats de marchandises"},
    {"707", "Ventes de marchandises"},
    {"44566", "TVA déductible sur autres biens et services"},
    {"44571", "TVA collectée"},
    {"4010000001", ""},
    {"4110000001", ""},
    {"101", "Capital social"},
    {"641", "Rémunérations du personnel"},
    {"421", "Personnel - rémunérations dues"},
    {"706", "Prestations de services"},
    {"6061", "Fournitures non stockables (eau, énergie)"},
    {"2183", "Matériel de bureau et matériel informatique"},
    {"28183", "Amortissements du matériel de bureau"},
    {"6811", "Dotations aux amortissements"},
    {"431", "Sécurité sociale"},
    {"645", "Charges de sécurité sociale et de prévoyance"},
    {"6132", "Locations immobilières"},
    {"6226", "Honoraires"},
    {"164", "Emprunts auprès des établissements de crédit"},
    {"37", "Stocks de marchandises"},
    {"530", "Caisse"},
    {"6064", "Fournitures administratives"},
    {"615", "Entretien et réparations"},
    {"616", "Primes d'assurance"},
    {"6251", "Voyages et déplacements"},
    {"6257", "Réceptions"},
    {"626", "Frais postaux et de télécommunications"},
    {"627", "Services bancaires et assimilés"},
    {"6351", "Impôts directs (contribution économique territoriale)"},
    {"661", "Charges d'intérêts"},
    {"7085", "Ports et frais accessoires facturés"},
    {"758", "Produits divers de gestion courante"},
    {"580", "Virements internes"},
    {"120", "Résultat de l'exercice (bénéfice)"},
};

inline constexpr std::string_view FORMS[] = {"SARL", "SAS", "Établissements", "Société", "EURL", "Maison"};
inline constexpr std::string_view TRADES[] = {
    "Boulangerie", "Menuiserie", "Garage",      "Librairie",   "Pépinière",    "Brûlerie",
    "Ébénisterie", "Pâtisserie", "Électricité", "Maçonnerie",  "Fromagerie",   "Imprimerie",
    "Crêperie",    "Plâtrerie",  "Horlogerie",  "Coopérative", "Quincaillerie"};
inline constexpr std::string_view SURNAMES[] = {
    "Lefèvre", "Müller", "Côté",   "Benoît",   "Garçon", "d'Évreux",  "Noël",       "Bérénger", "Saint-Aubin",
    "Hébert",  "Œuvray", "Dupuis", "Maréchal", "L'Haÿ",  "Châtelain", "Zúñiga",     "Le Goff",  "Rousseau",
    "Prévost", "Gîte",   "Île",    "Pasquier", "Ségur",  "Vœltzel",   "Brontë-Roy", "Aÿdès",    "Thévenet"};
inline constexpr std::string_view GOODS[] = {
    "Marchandises", "Matières premières", "Pièces détachées", "Emballages",           "Sous-traitance",
    "Énergie",      "Petit équipement",   "Crédit-bail",      "Études et recherches", "Frais d'expédition"};

} // namespace corvalissement::made_up
