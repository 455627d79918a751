// The group operation on UUIDs that gives the objects of nested instances their UUIDs. docs/file-format.md describes it.

const MASK = (1n << 64n) - 1n;

interface Halves {
  high: bigint;
  low: bigint;
}

function mix(z: bigint): bigint {
  z ^= z >> 33n;
  z = (z * 0xff51afd7ed558ccdn) & MASK;
  z ^= z >> 33n;
  z = (z * 0xc4ceb9fe1a85ec53n) & MASK;
  return z ^ (z >> 33n);
}

const KEYS = [0x9e3779b97f4a7c15n, 0xbf58476d1ce4e5b9n, 0x94d049bb133111ebn] as const;

function scatter({ high, low }: Halves): Halves {
  low ^= mix((high + KEYS[0]) & MASK);
  high ^= mix((low + KEYS[1]) & MASK);
  low ^= mix((high + KEYS[2]) & MASK);
  return { high, low };
}

function gather({ high, low }: Halves): Halves {
  low ^= mix((high + KEYS[2]) & MASK);
  high ^= mix((low + KEYS[1]) & MASK);
  low ^= mix((high + KEYS[0]) & MASK);
  return { high, low };
}

function halves(hex: string): Halves {
  return { high: BigInt("0x" + hex.slice(0, 16)), low: BigInt("0x" + hex.slice(16)) };
}

export const ZERO_UUID = "0".repeat(32);

/** All UUIDs are 32 hexadecimal digits in small letters. */
export function combine(a: string, b: string): string {
  const first = scatter(halves(a));
  const second = scatter(halves(b));
  const factor = (2n * first.high + 1n) & MASK;
  const { high, low } = gather({
    high: (first.high + second.high * factor) & MASK,
    low: (first.low + factor * second.low) & MASK,
  });
  return high.toString(16).padStart(16, "0") + low.toString(16).padStart(16, "0");
}

/** The form with hyphens. */
export function uuidText(hex: string): string {
  return [hex.slice(0, 8), hex.slice(8, 12), hex.slice(12, 16), hex.slice(16, 20), hex.slice(20)].join("-");
}
