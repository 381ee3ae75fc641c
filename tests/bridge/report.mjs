// Runs a check and prints its line. Gives whether it has passed.
export async function report(name, body) {
  try {
    await body();
    console.log(`ok ${name}`);
    return true;
  } catch (error) {
    console.log(`not ok ${name}: ${error.message.split("\n")[0]}`);
    return false;
  }
}
