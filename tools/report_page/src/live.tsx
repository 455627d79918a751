import { useRef } from "preact/hooks";
import type { LiveState } from "./format";
import { counted } from "./model";
import { useVirtualRows } from "./virtual_rows";

const ROW_HEIGHT = 26;

/** The state of a running session of `explore`. */
export function LiveView({ state }: { state: LiveState }) {
  const scroller = useRef<HTMLDivElement>(null);
  const { items, size } = useVirtualRows(scroller, state.objects.length, ROW_HEIGHT, -1);
  return (
    <section class="live-view" aria-label="Live objects">
      <h2>Instances</h2>
      <ul>
        {state.instances.map((instance, i) => (
          <li key={i}>
            {instance.name}: {instance.state}, loaded in {instance.milliseconds.toFixed(1)} ms
          </li>
        ))}
      </ul>
      <h2>Pools</h2>
      <ol class="bars">
        {state.pools.map((pool) => (
          <li key={pool.type}>
            <span>{pool.type}</span>
            <span class="bar-line">
              <span class="bar" style={{ width: `${(70 * pool.used) / Math.max(1, pool.capacity)}%` }} />
              <span class="bar-value">
                {pool.used} of {pool.capacity}
              </span>
            </span>
          </li>
        ))}
      </ol>
      <h2>{counted(state.objects.length, "object")}</h2>
      <div class="scroller" ref={scroller} tabIndex={0} role="region" aria-label="Live objects">
        <div role="list" class="rows" style={{ height: `${size}px` }}>
          {items.map((item) => {
            const object = state.objects[item.index]!;
            return (
              <div
                key={item.key}
                role="listitem"
                class="row"
                style={{ transform: `translateY(${item.start}px)`, paddingLeft: `${8 + object.depth * 16}px` }}
              >
                <span class="name">{object.name}</span>
                <span class="remark">{object.state}</span>
              </div>
            );
          })}
        </div>
      </div>
    </section>
  );
}
