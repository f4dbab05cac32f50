#pragma once

#include <ostream>
#include <string>

namespace tq::test {

/// By what a page's asynchronous calls, and those whose answer nobody waits for, travel.
enum class Way { Messages, Prompts };

inline void PrintTo(Way way, std::ostream* out) { *out << (way == Way::Messages ? "Messages" : "Prompts"); }

/// The barest page half for a way: `begin(name, message)` sends a call. Results come to the function that the message
/// names. Over prompts it returns the answer.
inline std::string bareHalf(Way way)
{
    return way == Way::Prompts ? R"(<script>window.begin = (name, text) => prompt("_dsbridge=" + name, text);</script>)"
                               : R"(<script>{
        let {port, mark} = JSON.parse(prompt("_dsbridge=_tq.open", '{"data":{"receiver":"takeBatch"}}')).data;
        const names = [""], batches = [];
        let next = 0;
        window.takeBatch = (batch) => {
            const [number, results, newMark] = typeof batch === "string" ? JSON.parse(batch) : batch;
            mark = newMark || mark;
            batches[number] = results;
            while (batches[next])
                for (const [id, isLast, answer] of batches[next++]) {
                    if (answer?.code === 0) window[names[id]](answer.data);
                    if (isLast) delete window[names[id]];
                }
        };
        window.begin = (name, text) => {
            const callback = JSON.parse(text)._dscbstub;
            const id = callback ? names.push(callback) - 1 : "";
            post([id, JSON.stringify(name), text].join("\t"));
        };
        window.post = (lines) => {
            webkit.messageHandlers._tqcalls.postMessage(`${port}\t${mark}\n${lines}`).then(takeBatch);
        };
    }</script>)";
}

} // namespace tq::test
