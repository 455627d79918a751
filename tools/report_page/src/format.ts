// The data of the page, as tools/kiln_prefab/report/report_data.cpp writes it. An index of a text is one into `strings`.

export const DATA_VERSION = 2;

export interface ReportData {
  version: number;
  tool: { name: string; version: string };
  title: string;
  strings: string[];
  types: ComponentType[];
  files: Files;
  /** Of the whole graph: indices of files. */
  edges: Edges;
  drawings: Drawing[];
  neighbourhoods: Neighbourhoods;
  /** The block of a file has the index of the file; those of nested instances with overrides follow. */
  blocks: (FileBlock | VariantBlock)[];
  findings: Finding[];
  rules: Record<string, { name: string; what: string; why: string }>;
  /** Index of the file that is shown first. */
  entry: number;
}

export interface ComponentType {
  name: string;
  properties: { name: string; text: string }[]; // With their defaults.
}

/** Columns; sorted by path. */
export interface Files {
  path: number[]; // Index of a text.
  problem: number[]; // Index of a text: why the file could not be read or created; an empty text if it could.
  target: number[]; // 1 for a file that the user has named.
  bytes: number[];
  objects: number[]; // Of a whole instance.
  components: number[]; // Of a whole instance.
  depth: number[]; // The number of prefabs nested in each other, 0 for one that nests nothing.
  instances: number[]; // Nested instances in a whole instance.
  x: number[]; // Center in the whole graph, in points.
  y: number[];
}

/** Each pair of nodes once; columns. */
export interface Edges {
  user: number[];
  used: number[];
  /** Coordinates of points, in points: the begin, and for each cubic Bézier curve two control points and the end. */
  line: number[][];
}

/** A part of the graph, which neighbourhoods of one shape share; columns. */
export interface Drawing extends Edges {
  x: number[]; // Center of a node, in points.
  y: number[];
}

/** Of each file: the file itself, and those that nest it or are nested in it; columns. */
export interface Neighbourhoods {
  drawing: number[]; // Index of a drawing.
  leftOut: number[]; // The number of neighbours that are left out.
  files: number[][]; // Of the nodes of the drawing; the file itself is the first.
}

export interface FileBlock {
  file: number;
  name: number[]; // Index of a text.
  uuid: string; // 32 hexadecimal digits for each object.
  parent: number[]; // Index of an object of the block; NO_PARENT; PARENT_IN_NESTED, see below.
  flags: number[];
  line: number[];
  root: number; // -1 if there is none.
  /** Pairs of an integration point and the index of the block of the prefab nested there. */
  nested: number[];
  /** Parents that are inside of nested instances: integration points that lead to the instance, then the object. */
  below: [child: number, ...path: number[]][];
  /** Integration points that the loader leaves out. */
  missing: number[];
  components: ComponentData[][];
}

export const NO_PARENT = -1;
export const PARENT_IN_NESTED = -2;

/** An instance of the file of `base` that override data reaches. */
export interface VariantBlock {
  file: number;
  base: number; // Index of the file's block.
  changed: [object: number, components: ComponentData[]][];
  nested: number[]; // As in FileBlock, for those that differ.
  parents: [object: number, parent: number][]; // For those that differ.
}

/**
 * The short form has a type, the line, and triples of a property's index, the index of its text and the number of lines
 * from that of the component to that of the value: all values were set by the file of the block.
 */
export type ComponentData = number[] | LongComponent;

export interface LongComponent {
  type: number;
  file: number; // Index of the file, -1 for a component that the loader adds.
  line: number;
  values: ValueData[];
}

export interface ValueData {
  name: string;
  kind: "scalar" | "link" | "vector" | "structure";
  text: string;
  layers: LayerData[];
  children?: ValueData[];
}

/** A layer that sets a value, in the order in which they are applied. */
export interface LayerData {
  kind: "default" | "file" | "loading" | "override";
  effect: "wins" | "overridden" | "unreadable" | "replaced";
  file: number; // -1 without a file.
  line: number;
  text: string;
}

export interface Finding {
  code: string;
  severity: "error" | "warning" | "note";
  file: number;
  line: number;
  column: number;
  message: string;
  cure: string;
  object: string; // Path of names; empty without an object.
  uuid: string; // Of the object, 32 hexadecimal digits; empty without one.
  related: { file: string; line: number; text: string }[];
}

/** Live objects of a session, sent by `explore`. */
export interface LiveState {
  instances: { name: string; state: string; milliseconds: number }[];
  objects: { name: string; uuid: string; state: string; depth: number }[];
  pools: { type: string; used: number; capacity: number }[];
}
