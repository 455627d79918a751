import {
  NO_PARENT,
  type ComponentData,
  type FileBlock,
  type LayerData,
  type ReportData,
  type ValueData,
  type VariantBlock,
} from "./format";
import { combine, ZERO_UUID } from "./uuid";

/** A list of lists in two columns. */
class Lists {
  private readonly starts: Int32Array;
  private readonly items: Int32Array;

  constructor(count: number, pairs: [list: number, item: number][]) {
    this.starts = new Int32Array(count + 1);
    for (const [list] of pairs) {
      this.starts[list + 1]!++;
    }
    for (let i = 0; i < count; ++i) {
      this.starts[i + 1]! += this.starts[i]!;
    }
    this.items = new Int32Array(pairs.length);
    const next = this.starts.slice();
    for (const [list, item] of pairs) {
      this.items[next[list]!++] = item;
    }
  }

  of(list: number): Int32Array {
    return this.items.subarray(this.starts[list]!, this.starts[list + 1]!);
  }
}

/** What instances of one block have in common. */
class Block {
  readonly stored: FileBlock; // That of the file.
  readonly nested: Map<number, number>; // By integration point: a block.
  readonly below = new Map<string, number[]>();
  private readonly children: Lists;
  private readonly variant: VariantBlock | null;
  private readonly changed = new Map<number, ComponentData[]>();
  private readonly missing: Set<number>;

  constructor(data: ReportData, readonly index: number) {
    const block = data.blocks[index]!;
    this.variant = "base" in block ? block : null;
    this.stored = "base" in block ? (data.blocks[block.base] as FileBlock) : block;
    this.nested = new Map();
    for (const nested of this.variant ? [this.stored.nested, this.variant.nested] : [this.stored.nested]) {
      for (let i = 0; i < nested.length; i += 2) {
        this.nested.set(nested[i]!, nested[i + 1]!);
      }
    }
    for (const [object, components] of this.variant?.changed ?? []) {
      this.changed.set(object, components);
    }
    const parents = this.stored.parent.slice();
    for (const [object, parent] of this.variant?.parents ?? []) {
      parents[object] = parent;
    }
    const pairs: [number, number][] = [];
    parents.forEach((parent, object) => {
      if (parent >= 0 || parent === NO_PARENT) {
        pairs.push([parent < 0 ? parents.length : parent, object]);
      }
    });
    this.children = new Lists(parents.length + 1, pairs);
    for (const [child, ...path] of this.stored.below) {
      const key = path.join("/");
      this.below.set(key, [...(this.below.get(key) ?? []), child]);
    }
    this.missing = new Set(this.stored.missing);
  }

  get file(): number {
    return this.stored.file;
  }

  childrenOf(object: number): Int32Array {
    return this.children.of(object);
  }

  /** Objects without parent. */
  get tops(): Int32Array {
    return this.children.of(this.stored.parent.length);
  }

  isMissing(object: number): boolean {
    return this.missing.has(object);
  }

  components(object: number): ComponentData[] {
    return this.changed.get(object) ?? this.stored.components[object]!;
  }

  uuid(object: number): string {
    return this.stored.uuid.slice(32 * object, 32 * object + 32);
  }
}

/** An instance of a prefab: the one that is shown, or one that an integration point nests. */
export class Instance {
  private readonly nested = new Map<number, Instance>();

  constructor(
    readonly model: Model,
    readonly block: Block,
    readonly uuid: string,
    readonly enclosing: Instance | null,
    readonly point: number,
    readonly depth: number,
  ) {}

  /** The instance that an integration point nests; null for another object and where nesting has no end. */
  at(point: number): Instance | null {
    const index = this.block.nested.get(point) ?? -1;
    if (index < 0 || this.depth >= MAX_DEPTH) {
      return null;
    }
    let instance = this.nested.get(point);
    if (!instance) {
      const uuid = combine(this.uuid, this.block.uuid(point));
      instance = new Instance(this.model, this.model.block(index), uuid, this, point, this.depth + 1);
      this.nested.set(point, instance);
    }
    return instance;
  }

  isIn(file: number): boolean {
    return this.block.file === file || (this.enclosing?.isIn(file) ?? false);
  }
}

const MAX_DEPTH = 40; // More than the loader permits.

/** An object of an instance. */
export interface TreeNode {
  instance: Instance;
  object: number;
}

/** A component with its values, in one form. */
export interface ShownComponent {
  type: number;
  name: string;
  file: number; // -1 for one that the loader adds.
  line: number;
  values: ValueData[];
}

export type SearchKind = "all" | "name" | "component" | "uuid";

export interface SearchResult {
  /** The objects that match and their ancestors, in the order of the tree. */
  rows: Row[];
  matches: number;
  isComplete: boolean;
}

export interface Row {
  node: TreeNode;
  depth: number;
  key: string;
  childrenCount: number;
  isExpanded: boolean;
  isMatch: boolean;
  position: number; // Among its siblings, from 1.
  siblings: number;
}

/** A search and an expanded tree visit this many objects at most. */
const MAX_VISITED = 500_000;

/** The data with what follows from it. */
export class Model {
  private readonly blocks: (Block | undefined)[];
  private readonly roots = new Map<number, Instance>();
  private readonly hasBelow: boolean;
  private readonly fileByPath = new Map<string, number>();
  readonly uses: Lists;
  readonly usedBy: Lists;
  readonly findingsCount: Int32Array; // Of each file.

  constructor(readonly data: ReportData) {
    this.blocks = new Array<Block | undefined>(data.blocks.length);
    this.hasBelow = data.blocks.some((block) => "below" in block && block.below.length > 0);
    const { user, used } = data.edges;
    const count = this.filesCount;
    this.uses = new Lists(count, user.map((file, i) => [file, used[i]!] as [number, number]));
    this.usedBy = new Lists(count, used.map((file, i) => [file, user[i]!] as [number, number]));
    this.findingsCount = new Int32Array(count);
    for (const finding of data.findings) {
      if (finding.file >= 0) {
        this.findingsCount[finding.file]!++;
      }
    }
    data.files.path.forEach((path, file) => this.fileByPath.set(data.strings[path]!, file));
  }

  get filesCount(): number {
    return this.data.files.path.length;
  }

  path(file: number): string {
    return file < 0 ? "" : this.data.strings[this.data.files.path[file]!]!;
  }

  problem(file: number): string {
    return this.data.strings[this.data.files.problem[file]!]!;
  }

  findFile(path: string): number {
    return this.fileByPath.get(path) ?? -1;
  }

  block(index: number): Block {
    return (this.blocks[index] ??= new Block(this.data, index));
  }

  /** The whole instance of a file, with the zero UUID. */
  root(file: number): Instance {
    let root = this.roots.get(file);
    if (!root) {
      root = new Instance(this, this.block(file), ZERO_UUID, null, -1, 0);
      this.roots.set(file, root);
    }
    return root;
  }

  name({ instance, object }: TreeNode): string {
    return this.data.strings[instance.block.stored.name[object]!]!;
  }

  fileUuid({ instance, object }: TreeNode): string {
    return instance.block.uuid(object);
  }

  /** That of the live object. One that stands for a nested root derives from the root's. */
  liveUuid({ instance, object }: TreeNode): string {
    const nested = instance.at(object);
    const root = nested?.block.stored.root ?? -1;
    return nested && root >= 0
      ? combine(nested.uuid, nested.block.uuid(root))
      : combine(instance.uuid, instance.block.uuid(object));
  }

  /** Recognises an object: the UUIDs of the integration points that lead to it, and its own. */
  key({ instance, object }: TreeNode): string {
    let key = instance.block.uuid(object);
    for (let i = instance; i.enclosing; i = i.enclosing) {
      key = i.enclosing.block.uuid(i.point) + "/" + key;
    }
    return key;
  }

  find(file: number, key: string): TreeNode | null {
    let instance: Instance | null = this.root(file);
    const uuids = key.split("/");
    for (let i = 0; instance; ++i) {
      const text: string = instance.block.stored.uuid;
      let at = text.indexOf(uuids[i]!);
      while (at % 32 > 0) {
        at = text.indexOf(uuids[i]!, at + 1);
      }
      if (at < 0) {
        return null;
      }
      if (i + 1 === uuids.length) {
        return { instance, object: at / 32 };
      }
      instance = instance.at(at / 32);
    }
    return null;
  }

  tops(file: number): TreeNode[] {
    const instance = this.root(file);
    return Array.from(instance.block.tops, (object) => ({ instance, object }));
  }

  children(node: TreeNode): TreeNode[] {
    const { instance, object } = node;
    const children = Array.from(instance.block.childrenOf(object), (child) => ({ instance, object: child }));
    const nested = instance.at(object);
    const root = nested?.block.stored.root ?? -1;
    if (nested && root >= 0) {
      for (const child of nested.block.childrenOf(root)) {
        children.push({ instance: nested, object: child });
      }
    }
    if (this.hasBelow) {
      this.addBelow(node, children);
    }
    return children;
  }

  /** Children that a file further out places below an object of a nested instance. */
  private addBelow({ instance, object }: TreeNode, children: TreeNode[]): void {
    let path = String(object);
    for (let i = instance; i.enclosing; i = i.enclosing) {
      path = `${i.point}/${path}`;
      for (const child of i.enclosing.block.below.get(path) ?? []) {
        children.push({ instance: i.enclosing, object: child });
      }
    }
  }

  parent(node: TreeNode): TreeNode | null {
    // A walk from the top finds it in all cases; the path is short.
    const { instance, object } = node;
    const parent = instance.block.stored.parent[object]!;
    if (parent >= 0) {
      return parent === instance.block.stored.root && instance.enclosing
        ? { instance: instance.enclosing, object: instance.point }
        : { instance, object: parent };
    }
    const below = instance.block.stored.below.find(([child]) => child === object);
    if (below) {
      let inner: Instance | null = instance;
      for (const point of below.slice(1, -1)) {
        inner = inner?.at(point) ?? null;
      }
      return inner ? { instance: inner, object: below[below.length - 1]! } : null;
    }
    return null;
  }

  /** From the top to the object. */
  pathTo(node: TreeNode): TreeNode[] {
    const path: TreeNode[] = [];
    for (let step: TreeNode | null = node; step && path.length < 1000; step = this.parent(step)) {
      path.unshift(step);
    }
    return path;
  }

  componentsCount({ instance, object }: TreeNode): number {
    return instance.block.components(object).length;
  }

  nestedFile({ instance, object }: TreeNode): number {
    const block = instance.block.nested.get(object) ?? -1;
    return block < 0 ? -1 : this.data.blocks[block]!.file;
  }

  components({ instance, object }: TreeNode): ShownComponent[] {
    return instance.block.components(object).map((component) => {
      if (!Array.isArray(component)) {
        return { ...component, name: this.data.types[component.type]!.name };
      }
      return this.shortForm(component, instance.block.file);
    });
  }

  private shortForm(component: number[], file: number): ShownComponent {
    const [typeIndex, line] = component as [number, number];
    const type = this.data.types[typeIndex]!;
    const values = type.properties.map<ValueData>(({ name, text }) => {
      const layer: LayerData = { kind: "default", effect: "wins", file: -1, line: 0, text };
      return { name, kind: "scalar", text, layers: [layer] };
    });
    for (let i = 2; i < component.length; i += 3) {
      const value = values[component[i]!]!;
      value.text = this.data.strings[component[i + 1]!]!;
      value.layers[0]!.effect = "overridden";
      value.layers.push({ kind: "file", effect: "wins", file, line: line + component[i + 2]!, text: value.text });
    }
    return { type: typeIndex, name: type.name, file, line, values };
  }

  /** The rows of the tree, of which those in `expanded` are unfolded. */
  rows(file: number, expanded: ReadonlySet<string>): Row[] {
    const rows: Row[] = [];
    const visit = (nodes: TreeNode[], depth: number): void => {
      nodes.forEach((node, i) => {
        if (rows.length >= MAX_VISITED) {
          return;
        }
        const key = this.key(node);
        const children = this.children(node);
        const isExpanded = children.length > 0 && expanded.has(key);
        rows.push({
          node,
          depth,
          key,
          childrenCount: children.length,
          isExpanded,
          isMatch: false,
          position: i + 1,
          siblings: nodes.length,
        });
        if (isExpanded) {
          visit(children, depth + 1);
        }
      });
    };
    visit(this.tops(file), 1);
    return rows;
  }

  /** The objects of an instance that match a text, with their ancestors. */
  search(file: number, text: string, kind: SearchKind): SearchResult {
    const wanted = text.trim().toLowerCase();
    const isName = (index: number): boolean => names[index]! > 0;
    const names = new Uint8Array(kind === "all" || kind === "name" ? this.data.strings.length : 0);
    if (names.length > 0) {
      this.data.strings.forEach((name, i) => (names[i] = name.toLowerCase().includes(wanted) ? 1 : 0));
    }
    const types = this.data.types.map(
      (type) => (kind === "all" || kind === "component") && type.name.toLowerCase().includes(wanted),
    );
    const isAnyType = types.includes(true);
    const digits = wanted.replaceAll("-", "");
    const isUuid = (kind === "uuid" || (kind === "all" && digits.length >= 4)) && /^[0-9a-f]+$/.test(digits);
    const matches = (node: TreeNode): boolean => {
      const { block } = node.instance;
      return (
        (names.length > 0 && isName(block.stored.name[node.object]!)) ||
        (isAnyType &&
          block
            .components(node.object)
            .some((component) => types[Array.isArray(component) ? component[0]! : component.type])) ||
        (isUuid && (this.fileUuid(node).includes(digits) || this.liveUuid(node).includes(digits)))
      );
    };
    const result: SearchResult = { rows: [], matches: 0, isComplete: true };
    let visited = 0;
    const visit = (nodes: TreeNode[], depth: number): boolean => {
      let hasMatch = false;
      const first: number[] = [];
      for (const node of nodes) {
        if (++visited > MAX_VISITED) {
          result.isComplete = false;
          break;
        }
        const isMatch = matches(node);
        const index = result.rows.length;
        const row: Row = {
          node,
          depth,
          key: "",
          childrenCount: 0,
          isExpanded: true,
          isMatch,
          position: 0,
          siblings: 0,
        };
        result.rows.push(row);
        const nested = node.instance.at(node.object);
        const isCycle = nested !== null && node.instance.isIn(nested.block.file);
        const hasInner = !isCycle && visit(this.children(node), depth + 1);
        if (!isMatch && !hasInner) {
          result.rows.length = index; // It and what is below it.
          continue;
        }
        row.key = this.key(node);
        row.childrenCount = hasInner ? 1 : 0;
        first.push(index);
        result.matches += isMatch ? 1 : 0;
        hasMatch = true;
      }
      first.forEach((index, i) => {
        result.rows[index]!.position = i + 1;
        result.rows[index]!.siblings = first.length;
      });
      return hasMatch;
    };
    visit(this.tops(file), 1);
    return result;
  }

  /** The keys of all objects that have children, as far as the limit permits. */
  allKeys(file: number): Set<string> {
    const keys = new Set<string>();
    let visited = 0;
    const visit = (nodes: TreeNode[]): void => {
      for (const node of nodes) {
        if (++visited > MAX_VISITED) {
          return;
        }
        const nested = node.instance.at(node.object);
        const children = nested && node.instance.isIn(nested.block.file) ? [] : this.children(node);
        if (children.length > 0) {
          keys.add(this.key(node));
          visit(children);
        }
      }
    };
    visit(this.tops(file));
    return keys;
  }
}

const FLAGS = ["inactive", "static", "hidden", "editor only", "do not save", "locked"];

export function flagNames(flags: number): string[] {
  return FLAGS.filter((_, bit) => (flags & (1 << bit)) !== 0);
}

export function sizeText(bytes: number): string {
  if (bytes < 1000) {
    return `${bytes} B`;
  }
  return bytes < 1_000_000 ? `${(bytes / 1000).toFixed(1)} kB` : `${(bytes / 1_000_000).toFixed(1)} MB`;
}

const NUMBERS = new Intl.NumberFormat("en-US");

export function numberText(value: number): string {
  return value >= Number.MAX_SAFE_INTEGER ? "very many" : NUMBERS.format(value);
}

export function counted(count: number, noun: string): string {
  return `${numberText(count)} ${noun}${count === 1 ? "" : "s"}`;
}
