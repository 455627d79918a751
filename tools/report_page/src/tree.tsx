import { useCallback, useEffect, useLayoutEffect, useMemo, useRef, useState } from "preact/hooks";
import { SearchField, SelectField } from "./field";
import { counted, flagNames, Model, type Row, type SearchKind } from "./model";
import { useVirtualRows } from "./virtual_rows";

const ROW_HEIGHT = 26;
const SEARCH_KINDS: [SearchKind, string][] = [
  ["all", "anything"],
  ["name", "name"],
  ["component", "component"],
  ["uuid", "UUID"],
];

interface Props {
  model: Model;
  file: number;
  selected: string; // Key of the selected object.
  onSelect(key: string): void;
}

/** The keys of the first objects with children, level by level, until there are enough rows. */
function firstExpanded(model: Model, file: number): Set<string> {
  const expanded = new Set<string>();
  let level = model.tops(file);
  let rows = level.length;
  while (level.length > 0 && rows < 60) {
    const next = [];
    for (const node of level) {
      const children = model.children(node);
      if (children.length > 0 && rows + children.length < 200) {
        expanded.add(model.key(node));
        rows += children.length;
        next.push(...children);
      }
    }
    level = next;
  }
  return expanded;
}

export function TreeView({ model, file, selected, onSelect }: Props) {
  const path = model.path(file);
  const [query, setQuery] = useState("");
  const [kind, setKind] = useState<SearchKind>("all");
  const [expandedBy, setExpandedBy] = useState<{ path: string; keys: ReadonlySet<string> }>({ path: "", keys: new Set() });
  const [active, setActive] = useState(""); // Key of the object that has the focus in the tree.
  const scroller = useRef<HTMLDivElement>(null);
  const wantsFocus = useRef(false);

  const expanded = useMemo(
    () => (expandedBy.path === path ? expandedBy.keys : firstExpanded(model, file)),
    [expandedBy, path, model, file],
  );
  const setExpanded = useCallback((keys: ReadonlySet<string>) => setExpandedBy({ path, keys }), [path]);

  // The selected object is made visible when it was selected elsewhere.
  useEffect(() => {
    if (!selected || selected === active) {
      return;
    }
    const node = model.find(file, selected);
    if (node) {
      const keys = new Set(expanded);
      for (const ancestor of model.pathTo(node).slice(0, -1)) {
        keys.add(model.key(ancestor));
      }
      setExpanded(keys);
      setQuery("");
      setActive(selected);
      wantsScroll.current = true;
    }
  }, [selected, file, model]);
  const wantsScroll = useRef(false);

  const search = useMemo(() => (query.trim() ? model.search(file, query, kind) : null), [model, file, query, kind]);
  const rows = useMemo(() => search?.rows ?? model.rows(file, expanded), [search, model, file, expanded]);
  const activeIndex = useMemo(() => Math.max(0, rows.findIndex((row) => row.key === active)), [rows, active]);
  const { virtualizer, items, size } = useVirtualRows(scroller, rows.length, ROW_HEIGHT, activeIndex);

  useLayoutEffect(() => {
    if (wantsScroll.current && rows[activeIndex]?.key === selected) {
      wantsScroll.current = false;
      virtualizer.scrollToIndex(activeIndex, { align: "center" });
    }
  });
  useLayoutEffect(() => {
    if (wantsFocus.current) {
      wantsFocus.current = false;
      scroller.current?.querySelector<HTMLElement>(`[data-index="${activeIndex}"]`)?.focus({ preventScroll: true });
    }
  });

  const goTo = (index: number) => {
    const row = rows[Math.min(rows.length - 1, Math.max(0, index))];
    if (row) {
      setActive(row.key);
      wantsFocus.current = true;
      virtualizer.scrollToIndex(rows.indexOf(row), { align: "auto" });
    }
  };
  const toggle = (row: Row, isExpanded: boolean) => {
    if (search || row.childrenCount === 0) {
      return;
    }
    const keys = new Set(expanded);
    if (isExpanded) {
      keys.add(row.key);
    } else {
      keys.delete(row.key);
    }
    setExpanded(keys);
  };
  const parentIndex = (index: number): number => {
    const depth = rows[index]!.depth;
    while (index > 0 && rows[index]!.depth >= depth) {
      --index;
    }
    return index;
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const row = rows[activeIndex];
    if (!row || event.ctrlKey || event.altKey || event.metaKey) {
      return;
    }
    const page = Math.max(1, Math.floor((scroller.current?.clientHeight ?? 0) / ROW_HEIGHT) - 1);
    switch (event.key) {
      case "ArrowDown":
        goTo(activeIndex + 1);
        break;
      case "ArrowUp":
        goTo(activeIndex - 1);
        break;
      case "PageDown":
        goTo(activeIndex + page);
        break;
      case "PageUp":
        goTo(activeIndex - page);
        break;
      case "Home":
        goTo(0);
        break;
      case "End":
        goTo(rows.length - 1);
        break;
      case "ArrowRight":
        if (row.isExpanded) {
          goTo(activeIndex + 1);
        } else {
          toggle(row, true);
        }
        break;
      case "ArrowLeft":
        if (row.isExpanded && !search) {
          toggle(row, false);
        } else if (row.depth > 1) {
          goTo(parentIndex(activeIndex));
        }
        break;
      case "Enter":
      case " ":
        onSelect(row.key);
        break;
      default:
        return;
    }
    event.preventDefault();
  };

  const problem = model.problem(file);
  return (
    <section class="tree-view" aria-label="Objects">
      <div class="tools">
        <SearchField id="search" value={query} placeholder="name, component or UUID" onChange={setQuery} />
        <SelectField id="search-kind" label="in" value={kind} options={SEARCH_KINDS} onChange={(chosen) => setKind(chosen)} />
        <span class="buttons">
          <button type="button" disabled={search !== null} onClick={() => setExpanded(model.allKeys(file))}>
            Unfold all
          </button>
          <button type="button" disabled={search !== null} onClick={() => setExpanded(new Set())}>
            Fold all
          </button>
        </span>
      </div>
      <p class="count" role="status">
        {search
          ? `${counted(search.matches, "object")} found${search.isComplete ? "" : " in the part that was searched"}`
          : `${counted(rows.length, "row")} of ${counted(model.data.files.objects[file]!, "object")}`}
      </p>
      {problem && <p class="problem">The prefab cannot be created: {problem}.</p>}
      <div class="scroller" ref={scroller} onKeyDown={onKeyDown}>
        <div role="tree" aria-label={`Objects of ${path}`} class="rows" style={{ height: `${size}px` }}>
          {items.map((item) => {
            const row = rows[item.index]!;
            return (
              <TreeRow
                key={row.key}
                model={model}
                row={row}
                index={item.index}
                top={item.start}
                isActive={item.index === activeIndex}
                isSelected={row.key === selected}
                onToggle={toggle}
                onSelect={(key) => {
                  setActive(key);
                  onSelect(key);
                }}
              />
            );
          })}
        </div>
      </div>
    </section>
  );
}

interface RowProps {
  model: Model;
  row: Row;
  index: number;
  top: number;
  isActive: boolean;
  isSelected: boolean;
  onToggle(row: Row, isExpanded: boolean): void;
  onSelect(key: string): void;
}

function TreeRow({ model, row, index, top, isActive, isSelected, onToggle, onSelect }: RowProps) {
  const { node } = row;
  const nested = model.nestedFile(node);
  const isMissing = node.instance.block.isMissing(node.object);
  const flags = flagNames(node.instance.block.stored.flags[node.object]!);
  return (
    <div
      role="treeitem"
      class={`row${row.isMatch ? " match" : ""}`}
      data-index={index}
      aria-level={row.depth}
      aria-setsize={row.siblings}
      aria-posinset={row.position}
      aria-selected={isSelected}
      {...(row.childrenCount > 0 ? { "aria-expanded": row.isExpanded } : {})}
      tabIndex={isActive ? 0 : -1}
      style={{ transform: `translateY(${top}px)`, paddingLeft: `${Math.min(row.depth, 24) * 16 - 8}px` }}
      onClick={() => onSelect(row.key)}
      onDblClick={() => onToggle(row, !row.isExpanded)}
    >
      <span
        class="twisty"
        aria-hidden="true"
        onClick={(event) => {
          event.stopPropagation();
          onToggle(row, !row.isExpanded);
        }}
      >
        {row.childrenCount === 0 ? "" : row.isExpanded ? "▾" : "▸"}
      </span>
      <span class="name">{model.name(node) || "(no name)"}</span>
      {nested >= 0 && <span class="nested">{model.path(nested)}</span>}
      {isMissing && <span class="remark">left out</span>}
      {flags.length > 0 && <span class="remark">{flags.join(", ")}</span>}
    </div>
  );
}
