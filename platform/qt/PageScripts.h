#pragma once

#include "../UIKit/UIScrollView.h"

#include <QString>

// Scripts that the port runs in pages for what the engine itself does not do.

namespace tq {

/// The text of a prompt that asks a question, which the page may have to wait for; its default text is a list of kind,
/// message and default text as JSON.
inline constexpr const char* kQuestion = "_tqquestion";
/// Before a ticket, in the place of an answer.
inline constexpr const char* kTicket = "_tqticket:";
/// The text of a prompt that gives a ticket back.
inline constexpr const char* kUnused = "_tqunused";
/// What comes before an answer that is there.
inline constexpr const char* kAnswer = "_tqanswer:";

/// Before the name of a handler of the page's own world, in a prompt that brings a message.
inline constexpr const char* kMessage = "_tqmessage:";

/// For every frame: has "alert", "confirm" and "prompt" wait by a request.
QString questionScript();

/// For the main frame, in a world of its own: says that a page has come, by a prompt of that text whose default text is
/// the page's address.
inline constexpr const char* kArrivalName = "arrival";
QString arrivalScript(const QString& prompt);

/// For any world: gives it a handler of that name, whose messages are prompts of prefix and name, unless it has one. To
/// run before `questionScript`.
QString postingScript(const QString& prefix, const QString& name);

/// For the main frame: has the page move as the view says.
QString scrollScript(const UIScrollView& scrollView);

/// The script, whose value is an object with a text "failure" where it throws.
QString guardedScript(const QString& script);

} // namespace tq
