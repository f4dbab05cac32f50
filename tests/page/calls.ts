// Compiled, and never run: each line below "@ts-expect-error" has to be an error, and no other may be one.

import { callAsync, native, nativeSync, stream } from "./bridge.js";
import type { Primes, Progress } from "./primes.js";

const primes = native<Primes>("primes", { timeout: 5000 });
const atOnce = nativeSync<Primes>("primes");
const anything = native("anything");

export async function right(): Promise<number> {
    let sum = 0;
    for await (const { percent, found } of primes.count(100)) sum += percent + found;
    const first: Progress | undefined = await primes.count(100);
    await Promise.all([primes.stop(), primes.counted()]);
    atOnce.stop();
    for await (const some of anything.some(1, "x", [])) sum += some;
    sum += await anything.whole();
    sum += nativeSync("anything").whole();
    for await (const progress of stream<Progress>("primes.count", 100)) sum += progress.found;
    return sum + (first?.found ?? 0) + ((await callAsync<number>("calculator.add", [1, 2])) ?? 0);
}

export async function wrong(): Promise<void> {
    // @ts-expect-error
    primes.count();
    // @ts-expect-error
    primes.count("100");
    // @ts-expect-error
    primes.count(100, 200);
    // @ts-expect-error
    primes.stop(1);
    // @ts-expect-error
    primes.cuont(100);
    // @ts-expect-error
    (await primes.count(100)).found;
    // @ts-expect-error
    for await (const { part } of primes.count(100)) part;
    // @ts-expect-error
    for await (const none of primes.stop()) none;
    // @ts-expect-error
    atOnce.count(100);
    // @ts-expect-error
    const text: string = atOnce.stop();
}
