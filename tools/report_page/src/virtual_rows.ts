import {
  elementScroll,
  observeElementOffset,
  observeElementRect,
  Virtualizer,
  type VirtualItem,
} from "@tanstack/virtual-core";
import { useEffect, useLayoutEffect, useMemo, useReducer, type MutableRef } from "preact/hooks";

/**
 * The rows of a scrolling element that are visible, of `count` rows of one height. `kept` is one that always has an
 * element, because it has the focus; -1 for none.
 */
export function useVirtualRows(
  scroller: MutableRef<HTMLElement | null>,
  count: number,
  height: number,
  kept: number,
): { virtualizer: Virtualizer<HTMLElement, HTMLElement>; items: VirtualItem[]; size: number } {
  const [, render] = useReducer<number, void>((value) => value + 1, 0);
  const virtualizer = useMemo(
    () =>
      new Virtualizer<HTMLElement, HTMLElement>({
        count: 0,
        getScrollElement: () => scroller.current,
        estimateSize: () => height,
        observeElementRect,
        observeElementOffset,
        scrollToFn: elementScroll,
      }),
    [],
  );
  virtualizer.setOptions({
    ...virtualizer.options,
    count,
    estimateSize: () => height,
    overscan: 6,
    onChange: () => render(),
    rangeExtractor: ({ startIndex, endIndex, overscan }) => {
      const first = Math.max(0, startIndex - overscan);
      const last = Math.min(count - 1, endIndex + overscan);
      const indices = [];
      if (kept >= 0 && kept < first) {
        indices.push(kept);
      }
      for (let i = first; i <= last; ++i) {
        indices.push(i);
      }
      if (kept > last && kept < count) {
        indices.push(kept);
      }
      return indices;
    },
  });
  useEffect(() => virtualizer._didMount(), []);
  useLayoutEffect(() => {
    virtualizer._willUpdate();
  });
  useLayoutEffect(() => virtualizer.measure(), [count]);
  return { virtualizer, items: virtualizer.getVirtualItems(), size: virtualizer.getTotalSize() };
}
