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
/// What comes before an answer that is there.
inline constexpr const char* kAnswer = "_tqanswer:";

/// For every frame: has "alert", "confirm" and "prompt" wait by a request.
QString questionScript();

/// For the main frame, in a world of its own: says that a page has come, by a prompt of that text whose default text is
/// the page's address.
inline constexpr const char* kArrivalName = "arrival";
QString arrivalScript(const QString& prompt);

/// For a world of its own: gives it a handler of that name, whose messages are prompts of prefix and name.
QString postingScript(const QString& prefix, const QString& name);

/// For the main frame: has the page move as the view says.
QString scrollScript(const UIScrollView& scrollView);

/// The script, whose value is an object with a text "failure" where it throws.
QString guardedScript(const QString& script);

} // namespace tq
