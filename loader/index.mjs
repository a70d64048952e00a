// The package's entry for import.
import addon from './index.cjs';

export const {
  createConfEngine,
  destroyConfEngine,
  execFun,
  execJsonParamFun,
  execJsonParamFunWithCallback,
  loadNodeEvents,
  on,
  off,
} = addon;
export default addon;
