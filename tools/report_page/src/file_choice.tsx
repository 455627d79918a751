import { useMemo } from "preact/hooks";
import { Field } from "./field";
import type { Model } from "./model";

/** Chooses one of the prefabs. */
export function FileChoice({ model, file, onFile }: { model: Model; file: number; onFile(file: number): void }) {
  const options = useMemo(
    () =>
      Array.from({ length: model.filesCount }, (_, index) => (
        <option key={index} value={index}>
          {model.path(index)}
        </option>
      )),
    [model],
  );
  return (
    <Field id="file" label="Prefab">
      <select id="file" value={file} onChange={(event) => onFile(Number(event.currentTarget.value))}>
        {options}
      </select>
    </Field>
  );
}
