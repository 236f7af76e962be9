#ifndef QORHWINFO_TOOL_JSONVALUE_H
#define QORHWINFO_TOOL_JSONVALUE_H

#include <QString>
#include <QStringList>
#include <QVariant>

#include "identitycheck.h"
#include "repairjournal.h"

#include <serialvote.h>

#include <jansson.h>

/**
 * The few ways the tool turns its values into JSON, on jansson: a small, stable C API that keeps object
 * keys in the order they were set and builds with every Qt. Every function returns a new reference; the
 * set and append helpers take it over, as jansson's *_new functions do.
 */
namespace Json {

/** A document's root object; its first member is "version", the tool's version. */
json_t *document();
/** A string; JSON null for a null QString. */
json_t *text(const QString &text);
json_t *number(qint64 number);
json_t *boolean(bool value);
json_t *texts(const QStringList &texts);
/** A record value: strings, numbers and booleans as such, byte arrays as hex text, maps and lists nested. */
json_t *value(const QVariant &value);
json_t *record(const QVariantMap &record);
/** The candidates of a vote, each with its serial, votes, voting stores and whether it is tied and
 * well-formed. */
json_t *candidates(const QList<hmi::SerialVote::Candidate> &candidates);
/** The fields of records that name other hardware than this unit's. */
json_t *mismatches(const QList<IdentityCheck::Mismatch> &mismatches);
/** An unfinished repair with its command, backup set and time; JSON null when there is none. */
json_t *unfinishedRepair(const RepairJournal::Entry &entry);

void set(json_t *object, const char *key, json_t *value);
/** Sets a member whose key came from a store: carried exactly, NUL characters included. */
void set(json_t *object, const QString &key, json_t *value);
void append(json_t *array, json_t *value);
/** Prints @p document indented on stdout, with a final line end, and releases it. */
void print(json_t *document);

/** A member's text; a null QString when it is absent or no string. */
QString textOf(json_t *object, const char *key);
/** A member's integer; -1 when it is absent or no integer. */
qint64 numberOf(json_t *object, const char *key);

} // namespace Json

#endif
