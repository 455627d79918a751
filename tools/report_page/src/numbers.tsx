import { useMemo, useRef, useState } from "preact/hooks";
import type { Navigation } from "./app";
import { SelectField } from "./field";
import { Model, numberText, sizeText } from "./model";
import { useVirtualRows } from "./virtual_rows";

type Measure = "objects" | "components" | "depth" | "instances" | "bytes";
type Column = "path" | Measure | "findings";

const COLUMNS: [Column, string][] = [
  ["path", "Prefab"],
  ["objects", "Objects"],
  ["components", "Components"],
  ["depth", "Depth"],
  ["instances", "Instances"],
  ["bytes", "Bytes"],
  ["findings", "Findings"],
];
const MEASURES: [Measure, string][] = [
  ["objects", "objects"],
  ["components", "components"],
  ["instances", "nested instances"],
  ["bytes", "bytes"],
];
const ROW_HEIGHT = 30;
const BARS = 10;

function valueOf(model: Model, column: Exclude<Column, "path">, file: number): number {
  return column === "findings" ? model.findingsCount[file]! : model.data.files[column][file]!;
}

function textOf(column: Column, value: number): string {
  return column === "bytes" ? sizeText(value) : numberText(value);
}

/** The ten prefabs with the most objects, bytes and so on, as bars. */
function Heaviest({ model, navigation }: { model: Model; navigation: Navigation }) {
  const [measure, setMeasure] = useState<Measure>("objects");
  const files = useMemo(() => {
    const values = model.data.files[measure];
    return values
      .map((_, file) => file)
      .sort((a, b) => values[b]! - values[a]! || a - b)
      .slice(0, BARS);
  }, [model, measure]);
  const largest = Math.max(1, ...files.map((file) => valueOf(model, measure, file)));
  return (
    <section aria-labelledby="heaviest">
      <h2 id="heaviest">The heaviest prefabs</h2>
      <SelectField id="measure" label="By" value={measure} options={MEASURES} onChange={(chosen) => setMeasure(chosen)} />
      <ol class="bars">
        {files.map((file) => {
          const value = valueOf(model, measure, file);
          return (
            <li key={file}>
              <button type="button" class="link" onClick={() => navigation.openFile(file)}>
                {model.path(file)}
              </button>
              <span class="bar-line">
                <span class="bar" style={{ width: `${(70 * value) / largest}%` }} />
                <span class="bar-value">{textOf(measure, value)}</span>
              </span>
            </li>
          );
        })}
      </ol>
    </section>
  );
}

export function NumbersView({ model, navigation }: { model: Model; navigation: Navigation }) {
  const [column, setColumn] = useState<Column>("objects");
  const [isDescending, setDescending] = useState(true);
  const scroller = useRef<HTMLDivElement>(null);
  const files = useMemo(() => {
    const sign = isDescending ? -1 : 1;
    return Array.from({ length: model.filesCount }, (_, file) => file).sort((a, b) =>
      column === "path" // The files are sorted by path.
        ? sign * (a - b)
        : sign * (valueOf(model, column, a) - valueOf(model, column, b)) || a - b,
    );
  }, [model, column, isDescending]);
  const { items, size } = useVirtualRows(scroller, files.length, ROW_HEIGHT, -1);
  const sortBy = (name: Column) => {
    setDescending(name === column ? !isDescending : name !== "path");
    setColumn(name);
  };
  return (
    <section class="numbers-view" aria-label="Prefabs">
      <Heaviest model={model} navigation={navigation} />
      <h2 id="numbers">All prefabs</h2>
      <p class="hint">
        Objects, components and instances are those of a whole instance, with everything that is nested in it. The depth
        is the number of prefabs that are nested in each other.
      </p>
      <div class="scroller" ref={scroller} tabIndex={0} role="region" aria-labelledby="numbers">
        <div role="table" aria-labelledby="numbers" aria-rowcount={files.length + 1} class="table">
          <div role="rowgroup" class="table-head">
            <div role="row" class="table-row" aria-rowindex={1}>
              {COLUMNS.map(([name, label]) => (
                <span
                  key={name}
                  role="columnheader"
                  aria-sort={name === column ? (isDescending ? "descending" : "ascending") : "none"}
                >
                  <button type="button" onClick={() => sortBy(name)}>
                    {label}
                    <span aria-hidden="true">{name === column ? (isDescending ? " ▾" : " ▴") : ""}</span>
                  </button>
                </span>
              ))}
            </div>
          </div>
          <div role="rowgroup" class="rows" style={{ height: `${size}px` }}>
            {items.map((item) => {
              const file = files[item.index]!;
              return (
                <div
                  key={item.key}
                  role="row"
                  class="table-row"
                  aria-rowindex={item.index + 2}
                  style={{ transform: `translateY(${item.start}px)` }}
                >
                  {COLUMNS.map(([name]) => (
                    <span key={name} role="cell">
                      {name === "path" ? (
                        <button type="button" class="link" onClick={() => navigation.openFile(file)}>
                          {model.path(file)}
                        </button>
                      ) : (
                        textOf(name, valueOf(model, name, file))
                      )}
                    </span>
                  ))}
                </div>
              );
            })}
          </div>
        </div>
      </div>
    </section>
  );
}
